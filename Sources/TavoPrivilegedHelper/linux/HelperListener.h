#pragma once

#include "TavoPrivilegedHelper/HelperService.h"
#include "TavoPrivilegedHelper/linux/PeerIdentification.h"
#include "base/FileDescriptor.h"

#include <asio/io_context.hpp>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>

namespace tavo {

/// The helper's socket. Reads from many connections at once, and serves complete requests one by one.
///
/// Each connection carries one request and has a deadline for sending it, and another one for taking the reply. Callers
/// are known by the kernel's word alone (PeerIdentification); one that is not served gets its message unread.
class HelperListener {
public:
    struct Limits {
        std::chrono::milliseconds deadline{1000};

        /// The number that are open at once; others wait in the kernel's queue until the deadlines of those before them
        /// pass. Each may hold a request of 64 KiB, and together they stay well below the memory that the service may
        /// use.
        std::size_t connections = 512;
    };

    /// Makes the socket, in place of one that an earlier process has left, for all users to connect to. Its folder must
    /// exist. Serves while `loop` runs. @throws std::system_error
    HelperListener(asio::io_context& loop, const std::filesystem::path& path,
                   std::shared_ptr<const HelperService> service, std::shared_ptr<const PeerIdentification> peers,
                   Limits limits);
    HelperListener(asio::io_context& loop, const std::filesystem::path& path,
                   std::shared_ptr<const HelperService> service, std::shared_ptr<const PeerIdentification> peers);

    /// Takes a socket over on which somebody else has listened, and goes on to: what has connected already is served.
    HelperListener(asio::io_context& loop, FileDescriptor listening, std::shared_ptr<const HelperService> service,
                   std::shared_ptr<const PeerIdentification> peers);
    HelperListener(const HelperListener&) = delete;
    HelperListener& operator=(const HelperListener&) = delete;

    /// Closes the socket, and removes it unless it was taken over.
    ~HelperListener();

    std::size_t openConnections() const;

    /// Has `work` called whenever a connection has ended.
    void onConnectionEnd(std::function<void()> work);

    /// Accepts no further connection: those wait in the kernel's queue, for resume() or for whoever listens next. One
    /// that has just been accepted is open once the work that is queued in the loop now has been done.
    void pause();
    void resume();

private:
    class Acceptor;
    std::shared_ptr<Acceptor> acceptor;
};

} // namespace tavo
