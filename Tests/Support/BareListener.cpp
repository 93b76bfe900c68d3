#include "Support/BareListener.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace tavo {

BareListener::BareListener(const std::filesystem::path& path)
    : listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.native().size() >= sizeof address.sun_path) {
        throw std::invalid_argument("too long for a socket: " + path.native());
    }
    std::memcpy(address.sun_path, path.c_str(), path.native().size());
    if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener, 5) != 0) {
        throw std::system_error(errno, std::generic_category(), "listen on a socket");
    }
    ::chmod(path.c_str(), 0666); // who gets to it is up to its folder
}

BareListener::~BareListener() {
    turnAway();
    ::close(listener);
}

bool BareListener::accept() {
    turnAway();
    connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    return connection >= 0;
}

void BareListener::turnAway() {
    if (connection >= 0) {
        ::close(connection);
        connection = -1;
    }
}

} // namespace tavo
