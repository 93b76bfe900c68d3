#include "app/views/TavoWindowGlassBackground.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace tavo {

namespace {

struct Freeing {
    void operator()(void* reply) const { std::free(reply); }
};

/// A compositing manager owns a selection of the screen: Extended Window Manager Hints 1.5, "_NET_WM_CM_Sn".
bool hasCompositingManager(xcb_connection_t* connection) {
    constexpr std::string_view name = "_NET_WM_CM_S0";
    const auto atomRequest = xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, Freeing> atom(
        xcb_intern_atom_reply(connection, atomRequest, nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE) {
        return false;
    }
    const std::unique_ptr<xcb_get_selection_owner_reply_t, Freeing> owner(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace

bool isWindowSystemComposited() {
    const auto* const x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    // Other window systems give the interface as well, without a server behind it.
    if (x11 != nullptr && x11->connection() != nullptr && QGuiApplication::platformName() == QStringLiteral("xcb")) {
        return hasCompositingManager(x11->connection());
    }
    return QGuiApplication::platformName().startsWith(QStringLiteral("wayland"));
}

} // namespace tavo
