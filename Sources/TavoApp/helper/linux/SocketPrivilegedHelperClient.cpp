#include "helper/linux/SocketPrivilegedHelperClient.h"

#include "base/FileDescriptor.h"
#include "helper/PrivilegedHelperExchange.h"
#include "helper/linux/SocketFraming.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <thread>

namespace tavo {

namespace {

using Clock = std::chrono::steady_clock;

/// Between two attempts to connect while the helper's queue is full, for which poll(2) has no event.
constexpr std::chrono::milliseconds connectPause{10};

std::system_error lastError() {
    return {errno, std::generic_category(), "could not talk to the privileged helper"};
}

/// One call's way over the socket: connected, sent, received, in this order. Nothing blocks but awaitReply().
class SocketCall {
public:
    explicit SocketCall(const std::filesystem::path& path) {
        address.sun_family = AF_UNIX;
        if (path.native().size() >= sizeof(address.sun_path)) {
            errno = ENAMETOOLONG;
            throw lastError();
        }
        std::memcpy(address.sun_path, path.c_str(), path.native().size() + 1);
        descriptor = FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (!descriptor) {
            throw lastError();
        }
        tryToConnect();
    }

    void queue(std::string frame) { unsent = std::move(frame); }

    /// Gives the reply; nothing when the deadline passes. @throws std::system_error, SocketFramingError
    std::optional<PrivilegedHelperReply> awaitReply(Clock::time_point deadline) {
        for (;;) {
            if (hasEnded) {
                throw PrivilegedHelperClientError::invalidResponse();
            }
            if (auto reply = advance()) {
                return reply;
            }
            if (!waitUntilReady(deadline)) {
                return std::nullopt;
            }
        }
    }

private:
    void tryToConnect() {
        isConnected = connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
        if (!isConnected && errno != EAGAIN && errno != EINTR) {
            throw lastError();
        }
    }

    std::optional<PrivilegedHelperReply> advance() {
        if (!isConnected) {
            tryToConnect();
        }
        if (isConnected && !unsent.empty()) {
            sendSome();
        }
        return isConnected ? receiveSome() : std::nullopt;
    }

    void sendSome() {
        const auto count = ::send(descriptor.get(), unsent.data(), unsent.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            unsent.erase(0, static_cast<std::size_t>(count));
        } else if (errno == EPIPE || errno == ECONNRESET) {
            // A caller that is refused is told so before its command has been read: the reply may be there already.
            unsent.clear();
        } else if (errno != EAGAIN && errno != EINTR) {
            throw lastError();
        }
    }

    std::optional<PrivilegedHelperReply> receiveSome() {
        std::array<char, 4096> buffer;
        const auto count = recv(descriptor.get(), buffer.data(), buffer.size(), 0);
        if (count > 0) {
            return reader.add({buffer.data(), static_cast<std::size_t>(count)});
        }
        if (count == 0) {
            hasEnded = true;
        } else if (errno != EAGAIN && errno != EINTR) {
            throw lastError();
        }
        return std::nullopt;
    }

    bool waitUntilReady(Clock::time_point deadline) const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        if (hasEnded) {
            return true;
        }
        if (!isConnected) {
            std::this_thread::sleep_for(std::min(left, connectPause));
            return true;
        }
        const auto events = static_cast<short>(unsent.empty() ? POLLIN : POLLIN | POLLOUT);
        pollfd waiting{.fd = descriptor.get(), .events = events, .revents = 0};
        poll(&waiting, 1, static_cast<int>(left.count()));
        return true;
    }

    sockaddr_un address{};
    FileDescriptor descriptor;
    std::string unsent;
    ReplyFrameReader reader;
    bool isConnected = false;
    bool hasEnded = false;
};

/// Carries one call. The calling thread reads the socket itself while it waits for the outcome.
class SocketTransport final : public PrivilegedHelperTransport, public PrivilegedHelperReplyWaiting {
public:
    explicit SocketTransport(std::filesystem::path socket) : socket(std::move(socket)) {}

    std::unique_ptr<PrivilegedHelperConnection> connect() override;

    bool waitForSignal(const PrivilegedHelperReplySlot& slot, std::chrono::milliseconds bound) override {
        const auto deadline = Clock::now() + bound;
        try {
            const auto reply = call->awaitReply(deadline);
            if (!reply) {
                return false;
            }
            outcome->receive(*reply);
        } catch (const SocketFramingError&) {
            outcome->end();
        } catch (...) {
            outcome->fail(std::current_exception());
        }
        return slot.isSignalled();
    }

    void send(const std::string& body, std::shared_ptr<PrivilegedHelperReplySlot> slot) {
        call->queue(SocketFraming::request(body));
        outcome = std::move(slot);
    }

    void close() noexcept { call.reset(); }

private:
    std::filesystem::path socket;
    std::optional<SocketCall> call;
    std::shared_ptr<PrivilegedHelperReplySlot> outcome;
};

class SocketConnection final : public PrivilegedHelperConnection {
public:
    explicit SocketConnection(SocketTransport& transport) : transport(transport) {}

    bool send(const std::string& body, std::shared_ptr<PrivilegedHelperReplySlot> slot) override {
        transport.send(body, std::move(slot));
        return true;
    }

    void invalidate() noexcept override { transport.close(); }

private:
    SocketTransport& transport;
};

std::unique_ptr<PrivilegedHelperConnection> SocketTransport::connect() {
    call.emplace(socket);
    return std::make_unique<SocketConnection>(*this);
}

} // namespace

PrivilegedHelperResponse SocketPrivilegedHelperClient::send(const PrivilegedHelperCommand& command) {
    const auto transport = std::make_shared<SocketTransport>(socket);
    return PrivilegedHelperExchange(transport, transport).send(command);
}

} // namespace tavo
