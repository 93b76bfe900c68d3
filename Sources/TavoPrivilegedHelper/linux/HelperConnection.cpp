#include "TavoPrivilegedHelper/linux/HelperConnection.h"

#include "system/linux/ProcessDescriptor.h"

#include <asio/post.hpp>
#include <asio/write.hpp>
#include <fmt/format.h>
#include <sys/socket.h>

#include <system_error>
#include <utility>

namespace tavo {

HelperConnection::HelperConnection(asio::local::stream_protocol::socket socket,
                                   std::shared_ptr<const HelperService> service,
                                   std::shared_ptr<const PeerIdentification> peers, std::chrono::milliseconds deadline,
                                   std::shared_ptr<void> open)
    : socket(std::move(socket)), service(std::move(service)), peers(std::move(peers)), deadline(deadline),
      open(std::move(open)) {}

void HelperConnection::begin() {
    restartDeadline();
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (getsockopt(socket.native_handle(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        finish();
        return;
    }
    if (auto message = service->refusal(peer.uid, peer.pid)) {
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
        if (hasHungUp(socket.native_handle())) {
            finish(); // it has waited too long behind others; nobody would hear what was done in its name
            return;
        }
        const auto peer = peers->identify(socket.native_handle(), acceptedAt);
        reply(peer ? serve(*peer, *body)
                   : PrivilegedHelperReply{std::nullopt, "the process that asked the privileged helper has ended."});
    } catch (const SocketFramingError& error) {
        reply({std::nullopt, error.description()});
    } catch (const std::system_error& error) {
        // Out of descriptors or memory, for the moment.
        reply({std::nullopt,
               fmt::format("the privileged helper could not identify its caller: {}.", error.code().message())});
    }
}

PrivilegedHelperReply HelperConnection::serve(const IdentifiedPeer& peer, const std::string& body) {
    auto answer = service->serve(peer.caller, body);
    // While the descriptor's process lives, its number has stood for it all along.
    if (hasEnded(peer.process) || hasHungUp(socket.native_handle())) {
        service->endUnheard(peer.caller, body);
    }
    return answer;
}

void HelperConnection::reply(const PrivilegedHelperReply& reply) {
    outgoing = SocketFraming::reply(reply);
    restartDeadline();
    asio::async_write(socket, asio::buffer(outgoing),
                      [self = shared_from_this()](const asio::error_code&, std::size_t) { self->finish(); });
}

void HelperConnection::finish() {
    timer.reset();
    asio::error_code ignored; // the other end may be gone already
    socket.shutdown(asio::local::stream_protocol::socket::shutdown_both, ignored);
    socket.close(ignored);
}

void HelperConnection::restartDeadline() {
    auto& loop = static_cast<asio::io_context&>(socket.get_executor().context());
    expiry = std::chrono::steady_clock::now() + deadline;
    timer.emplace(loop, expiry, [weakSelf = weak_from_this(), &loop] {
        // Serving somebody else may have taken longer than the deadline: a request that has arrived meanwhile is read
        // first.
        asio::post(loop, [weakSelf] {
            const auto self = weakSelf.lock();
            if (self && self->expiry <= std::chrono::steady_clock::now()) {
                self->finish();
            }
        });
    });
}

} // namespace tavo
