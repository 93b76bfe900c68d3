#include "app/views/Activation.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QWidget>
#include <charconv>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

namespace tavo {

namespace {

/// Qt passes this token to the compositor with the next activation, and then removes it.
constexpr const char* tokenVariable = "XDG_ACTIVATION_TOKEN";

bool isWayland() {
    return QGuiApplication::platformName().startsWith(QStringLiteral("wayland"));
}

/// The X server's time of the user's action, with which a startup id ends.
std::optional<std::uint32_t> timeIn(std::string_view startupID) {
    constexpr std::string_view mark = "_TIME";
    const auto place = startupID.rfind(mark);
    std::uint32_t time = 0;
    if (place == std::string_view::npos) {
        return std::nullopt;
    }
    const auto* const first = startupID.data() + place + mark.size();
    const auto* const end = startupID.data() + startupID.size();
    const auto [last, error] = std::from_chars(first, end, time);
    return error == std::errc() && last == end ? std::optional(time) : std::nullopt;
}

struct Freeing {
    void operator()(void* reply) const { std::free(reply); }
};

/// Extended Window Manager Hints 1.5, "_NET_ACTIVE_WINDOW": sent as an application, at the user's request at that time.
/// Without it a window manager takes the application's last input for the time, and refuses a request older than that
/// of the active window.
void requestActivation(xcb_connection_t* connection, xcb_window_t window, std::uint32_t time) {
    constexpr std::string_view name = "_NET_ACTIVE_WINDOW";
    constexpr std::uint32_t asApplication = 1;
    const auto atomRequest = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const auto treeRequest = xcb_query_tree(connection, window);
    const std::unique_ptr<xcb_intern_atom_reply_t, Freeing> atom(
        xcb_intern_atom_reply(connection, atomRequest, nullptr));
    const std::unique_ptr<xcb_query_tree_reply_t, Freeing> tree(xcb_query_tree_reply(connection, treeRequest, nullptr));
    if (!atom || !tree) {
        return;
    }
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom->atom;
    message.data.data32[0] = asApplication;
    message.data.data32[1] = time;
    xcb_send_event(connection, 0, tree->root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
}

} // namespace

void useActivation(const WindowRequest& request) {
    if (isWayland() && !request.activationToken.empty()) {
        qputenv(tokenVariable, QByteArray::fromStdString(request.activationToken));
    }
}

void completeActivation(QWidget& window, const WindowRequest& request) {
    qunsetenv(tokenVariable);
    const auto* const x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    const auto time = timeIn(request.startupID);
    if (time && x11 != nullptr && QGuiApplication::platformName() == QStringLiteral("xcb")) {
        requestActivation(x11->connection(), static_cast<xcb_window_t>(window.winId()), *time);
    }
}

void prepareForActivation(QWidget& window) {
    // Compositors put a new window in front.
    if (isWayland() && !qEnvironmentVariableIsSet(tokenVariable) && window.isVisible() && !window.isActiveWindow()) {
        window.hide();
    }
}

} // namespace tavo
