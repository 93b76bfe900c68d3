#include "app/views/PlatformWindow.h"
#include "base/FileDescriptor.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <xcb/xcb.h>

#include <QByteArray>
#include <QByteArrayList>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace tavo {

namespace {

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

bool isListening(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const FileDescriptor probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // EAGAIN: there is a listener, and others wait for it, too.
    return probe &&
           (connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 || errno == EAGAIN);
}

/// Where wl_display_connect(3) of libwayland connects to.
bool isWaylandThere() {
    if (!variable("WAYLAND_SOCKET").empty()) {
        return true; // a connection that was made before
    }
    const auto name = variable("WAYLAND_DISPLAY");
    if (name.empty()) {
        return false;
    }
    const auto folder = variable("XDG_RUNTIME_DIR");
    return name.front() == '/' ? isListening(name) : !folder.empty() && isListening(folder + "/" + name);
}

bool isX11There() {
    if (variable("DISPLAY").empty()) {
        return false;
    }
    auto* const connection = xcb_connect(nullptr, nullptr);
    const bool isThere = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return isThere;
}

} // namespace

// The environment may name a display that is gone, as in a terminal that outlived its desktop.
bool hasDisplay() {
    const auto chosen = QByteArray::fromStdString(variable("QT_QPA_PLATFORM"));
    if (chosen.isEmpty()) {
        return isWaylandThere() || isX11There();
    }
    const auto platforms = chosen.split(';');
    return std::any_of(platforms.begin(), platforms.end(), [](const QByteArray& platform) {
        return platform.startsWith("wayland") ? isWaylandThere() : !platform.startsWith("xcb") || isX11There();
    });
}

} // namespace tavo
