#pragma once

#include "TavoPrivilegedHelper/HelperService.h"
#include "TavoPrivilegedHelper/linux/PeerIdentification.h"
#include "helper/linux/SocketFraming.h"
#include "system/AsioTimer.h"

#include <asio/local/stream_protocol.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tavo {

/// One caller and its one request. Lives as long as something is expected of its socket, and `open` as long as it does.
class HelperConnection final : public std::enable_shared_from_this<HelperConnection> {
public:
    /// @param open  destroyed with the connection.
    HelperConnection(asio::local::stream_protocol::socket socket, std::shared_ptr<const HelperService> service,
                     std::shared_ptr<const PeerIdentification> peers, std::chrono::milliseconds deadline,
                     std::shared_ptr<void> open);

    void begin();

private:
    void readSome();
    void handleBytes(std::string_view bytes);
    void reply(const PrivilegedHelperReply& reply);
    void finish();
    void restartDeadline();
    PrivilegedHelperReply serve(const IdentifiedPeer& peer, const std::string& body);

    asio::local::stream_protocol::socket socket;
    std::shared_ptr<const HelperService> service;
    std::shared_ptr<const PeerIdentification> peers;
    std::chrono::milliseconds deadline;
    std::shared_ptr<void> open;
    std::chrono::steady_clock::time_point expiry;
    std::optional<AsioTimer> timer;
    std::uint64_t acceptedAt = PeerIdentification::now();
    std::array<char, 4096> buffer{};
    RequestFrameReader reader;
    std::string outgoing;
};

} // namespace tavo
