#include "TavoPrivilegedHelper/linux/HelperConnection.h"

#include <asio/post.hpp>
#include <asio/write.hpp>
#include <poll.h>
#include <sys/socket.h>

#include <utility>

namespace tavo {

HelperConnection::HelperConnection(asio::local::stream_protocol::socket socket,
                                   std::shared_ptr<const HelperService> service,
                                   std::shared_ptr<const ProcessWatching> processes, std::chrono::milliseconds deadline,
                                   std::shared_ptr<void> open)
    : socket(std::move(socket)), service(std::move(service)), processes(std::move(processes)), deadline(deadline),
      open(std::move(open)), timer(this->socket.get_executor()) {}

void HelperConnection::begin() {
    restartDeadline();
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (getsockopt(socket.native_handle(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        finish();
        return;
    }
    if (auto message = service->refusal(peer.uid)) {
        reply({std::nullopt, std::move(message)});
        return;
    }
    readSome();
}

void HelperConnection::readSome() {
    socket.async_read_some(asio::buffer(buffer),
                           [self = shared_from_this()](const asio::error_code& error, std::size_t count) {
                               if (error) {
                                   self->finish();
                               } else {
                                   self->handleBytes({self->buffer.data(), count});
                               }
                           });
}

void HelperConnection::handleBytes(std::string_view bytes) {
    try {
        const auto body = reader.add(bytes);
        if (!body) {
            readSome();
            return;
        }
        if (hasHungUp()) {
            finish(); // waited for too long behind others; nobody would know what was done in its name
            return;
        }
        const auto who = caller();
        const auto answer =
            who ? service->serve(*who, *body)
                : PrivilegedHelperReply{std::nullopt, "the process that asked the privileged helper has ended."};
        if (who && hasHungUp()) {
            service->takeBack(*who, *body);
        }
        reply(answer);
    } catch (const SocketFramingError& error) {
        reply({std::nullopt, error.description()});
    }
}

/// By the kernel's word on who made the connection. A process that the kernel cannot name here, as one in another
/// namespace, has the number 0, and so no identity.
std::optional<HelperCaller> HelperConnection::caller() {
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (getsockopt(socket.native_handle(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.pid <= 0) {
        return std::nullopt;
    }
    const auto process = processes->identify(peer.pid);
    return process ? std::optional(HelperCaller{peer.uid, *process}) : std::nullopt;
}

/// Whether the caller has closed its end altogether, as one does that has stopped waiting.
bool HelperConnection::hasHungUp() {
    pollfd state{.fd = socket.native_handle(), .events = 0, .revents = 0};
    return poll(&state, 1, 0) > 0 && (state.revents & POLLHUP) != 0;
}

void HelperConnection::reply(const PrivilegedHelperReply& reply) {
    outgoing = SocketFraming::reply(reply);
    restartDeadline();
    asio::async_write(socket, asio::buffer(outgoing),
                      [self = shared_from_this()](const asio::error_code&, std::size_t) { self->finish(); });
}

void HelperConnection::finish() {
    timer.cancel();
    asio::error_code ignored; // the other end may be gone already
    socket.shutdown(asio::local::stream_protocol::socket::shutdown_both, ignored);
    socket.close(ignored);
}

void HelperConnection::restartDeadline() {
    timer.expires_after(deadline);
    timer.async_wait([weakSelf = weak_from_this()](const asio::error_code& error) {
        const auto self = weakSelf.lock();
        if (error || !self) {
            return;
        }
        // Serving somebody else may have taken longer than the deadline: what has arrived meanwhile is looked at first.
        asio::post(self->socket.get_executor(), [weakSelf] {
            const auto stillThere = weakSelf.lock();
            if (stillThere && stillThere->timer.expiry() <= asio::steady_timer::clock_type::now()) {
                stillThere->finish();
            }
        });
    });
}

} // namespace tavo
