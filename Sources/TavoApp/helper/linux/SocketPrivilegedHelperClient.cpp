#include "helper/linux/SocketPrivilegedHelperClient.h"

#include "base/FileDescriptor.h"
#include "helper/linux/SocketFraming.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

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

/// One call over the socket: connects, sends and receives, in this order. Only awaitReply() blocks.
class SocketCall {
public:
    SocketCall(const std::filesystem::path& path, std::string frame) : unsent(std::move(frame)) {
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
        if (!isConnected && errno == EACCES) {
            throw PrivilegedHelperClientError::transportError(fmt::format(
                "the privileged helper is not granted to this user (user id {}), or not any more; tavoctl helper "
                "install grants it, with an administrator's approval.",
                geteuid()));
        }
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

} // namespace

PrivilegedHelperReply SocketPrivilegedHelperClient::roundTrip(const std::string& body,
                                                              std::chrono::milliseconds bound) {
    const auto deadline = Clock::now() + bound;
    SocketCall call(socket, SocketFraming::request(body));
    try {
        if (auto reply = call.awaitReply(deadline)) {
            return *std::move(reply);
        }
    } catch (const SocketFramingError&) {
        throw PrivilegedHelperClientError::invalidResponse();
    }
    throw PrivilegedHelperClientError::timeout();
}

} // namespace tavo
