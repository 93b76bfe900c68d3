#include "TavoControl/ServiceNotification.h"

#include "base/FileDescriptor.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace tavo {

namespace {

constexpr const char* addressVariable = "NOTIFY_SOCKET";

} // namespace

ServiceNotification ServiceNotification::fromEnvironment() {
    ServiceNotification notification;
    if (const char* const given = std::getenv(addressVariable)) {
        notification.address = given;
        unsetenv(addressVariable);
    }
    return notification;
}

/// Not through libsystemd, which reads the environment for every message.
void ServiceNotification::send(const std::string& assignment) const {
    sockaddr_un peer{.sun_family = AF_UNIX};
    if (address.size() < 2 || address.size() >= sizeof peer.sun_path || (address[0] != '/' && address[0] != '@')) {
        return;
    }
    std::copy(address.begin(), address.end(), peer.sun_path);
    auto length = offsetof(sockaddr_un, sun_path) + address.size();
    if (address[0] == '@') {
        peer.sun_path[0] = '\0';
    } else {
        ++length; // with the byte that ends the path
    }
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    // A manager that is busy gets a moment, and one that does not read at all does not stop a run.
    constexpr timeval patience{.tv_sec = 1};
    if (socket && setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience) == 0) {
        sendto(socket.get(), assignment.data(), assignment.size(), MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&peer),
               static_cast<socklen_t>(length));
    }
}

} // namespace tavo
