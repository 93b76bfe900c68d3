#pragma once

#include "BusWire.h"
#include "base/FileDescriptor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace tavo {

/// A desktop and its bus, byte by byte: answers as it is told, and keeps an account of what it has been asked to hold.
class DesktopStandIn {
public:
    /// @param socket  of the one client, non-blocking.
    explicit DesktopStandIn(FileDescriptor socket) : socket(std::move(socket)) {}

    /// One step of the desktop's: a letter, and what belongs to it. Nothing for other letters.
    void step(char letter, std::string_view content);

    /// Reads what the client has sent. False when there is nothing.
    bool receive();

    bool isConnected() const { return bool(socket); }

    /// Whether the desktop has kept to its interfaces so far, so that what it holds is known.
    bool isSensible() const { return keepsToInterfaces; }

    /// Whether every request that a present service has taken was withdrawn.
    bool holdsNothing() const { return held.empty(); }

private:
    void note(const BusWire::Message& message);
    void noteRelease(const BusWire::Message& message);
    void answerSensibly(std::string_view content);
    void answerWithError(std::string_view content);
    void answerWithBytes(std::string_view content);
    void announceOwner(std::string_view content);
    void setOwner(std::size_t service, const std::string& owner);
    void respond(std::string_view content);
    void answer(std::string_view signature, std::string_view body);
    void reply(std::uint32_t serial, std::string_view signature, std::string_view body);
    void send(std::string_view bytes);

    static constexpr std::size_t serviceCount = 3;

    FileDescriptor socket;
    std::string received;
    bool hasBegun = false;
    std::uint32_t serials = 0;
    bool keepsToInterfaces = true;

    /// Calls that have no answer yet.
    std::deque<BusWire::Message> open;
    std::array<std::string, serviceCount> owners;

    /// The services' tokens.
    std::set<std::pair<std::size_t, std::string>> held;

    /// Calls to an owner that is no more.
    std::set<std::uint32_t> late;
};

} // namespace tavo
