#pragma once

#include "Support/SpawnedProgram.h"

#include <filesystem>
#include <memory>
#include <string>

namespace tavo {

/// A message bus of the test's own (a dbus-daemon in a temporary folder), which can die and come back on the same
/// socket.
///
/// Serves as a session bus or stands in for the system bus: every client that reaches its folder may own any name.
class PrivateBus {
public:
    /// Makes the folder; the bus itself is not started. @throws std::system_error
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// Returns when the bus accepts connections. @throws std::runtime_error when it does not within 20 seconds.
    void start();

    /// Ends the bus by a signal: SIGTERM lets it remove its socket, SIGKILL leaves the dead socket behind.
    void stop(int signal);

    /// The bus's address without its id, the same for every start.
    std::string address() const { return "unix:path=" + socket().string(); }

    /// As the bus itself prints it, with the id of the last start.
    std::string addressWithId() const { return printedAddress; }

    /// Everything of the bus: its folder `run`, which holds the socket and nothing else, and place for a test's files.
    const std::filesystem::path& folder() const { return root; }
    std::filesystem::path socket() const { return root / "run" / "bus"; }

    /// Makes a name activatable: a call without an owner makes the bus create `marker`. Before start().
    void makeActivatable(const std::string& name, const std::filesystem::path& marker) const;

private:
    std::filesystem::path root;
    std::string printedAddress;
    std::unique_ptr<SpawnedProgram> daemon;
};

} // namespace tavo
