#include "TavoPrivilegedHelper/linux/PassedSocket.h"

#include "TavoPrivilegedHelper/HelperMain.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <systemd/sd-daemon.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

std::string pathOf(const FileDescriptor& socket) {
    sockaddr_un address{};
    socklen_t size = sizeof(address);
    if (getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        size <= offsetof(sockaddr_un, sun_path)) {
        return {};
    }
    const std::string path(address.sun_path, size - offsetof(sockaddr_un, sun_path));
    return path.substr(0, path.find('\0')); // unix(7): the terminating byte may be counted
}

} // namespace

PassedSocket PassedSocket::take() {
    constexpr int unsetEnvironment = 1;
    if (sd_listen_fds(unsetEnvironment) != 1) {
        throw HelperUsageError("--activated is for a helper that com.vrd.tavo.helper.socket has started, with one "
                               "socket passed to it; start that unit instead.");
    }
    return of(FileDescriptor(SD_LISTEN_FDS_START));
}

PassedSocket PassedSocket::of(FileDescriptor descriptor) {
    constexpr int isListening = 1;
    const auto path = pathOf(descriptor);
    if (path.empty() || sd_is_socket_unix(descriptor.get(), SOCK_STREAM, isListening, nullptr, 0) <= 0) {
        throw HelperUsageError("the passed descriptor is no listening socket of the file system.");
    }
    // The descriptor's own status names whoever made the socket.
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        throw std::system_error(errno, std::generic_category(), "could not tell whose socket is " + path);
    }
    if (!S_ISSOCK(status.st_mode)) {
        throw HelperUsageError("the passed socket is not the one at " + path + ".");
    }
    return {std::move(descriptor), status.st_uid};
}

} // namespace tavo
