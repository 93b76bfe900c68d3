#include "app/views/linux/XEmbedTray.h"

#include <QCoreApplication>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace tavo {

namespace {

struct Freeing {
    void operator()(void* reply) const { std::free(reply); }
};

xcb_atom_t atomOf(xcb_connection_t* connection, const std::string& name) {
    const std::unique_ptr<xcb_intern_atom_reply_t, Freeing> reply(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

int defaultScreen() {
    char* host = nullptr;
    int display = 0;
    int screen = 0;
    const bool isParsed = xcb_parse_display(nullptr, &host, &display, &screen) != 0;
    std::free(host);
    return isParsed ? screen : 0;
}

} // namespace

XEmbedTray::XEmbedTray(xcb_connection_t* connection) : connection(connection) {
    if (connection == nullptr) {
        return;
    }
    const int number = defaultScreen();
    manager = atomOf(connection, "MANAGER");
    selection = atomOf(connection, "_NET_SYSTEM_TRAY_S" + std::to_string(number));
    // A starting tray notifies the root window.
    auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int before = 0; before < number && screen.rem > 1; ++before) {
        xcb_screen_next(&screen);
    }
    selectEvents(screen.data->root);
    QCoreApplication::instance()->installNativeEventFilter(this);
    update();
}

/// In addition to the events that Qt selects on its connection.
void XEmbedTray::selectEvents(xcb_window_t window) {
    const std::unique_ptr<xcb_get_window_attributes_reply_t, Freeing> attributes(
        xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, window), nullptr));
    if (attributes) {
        const std::uint32_t mask = attributes->your_event_mask | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(connection);
    }
}

void XEmbedTray::update() {
    const std::unique_ptr<xcb_get_selection_owner_reply_t, Freeing> reply(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection), nullptr));
    const xcb_window_t found = reply ? reply->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
    if (std::exchange(owner, found) == found) {
        return;
    }
    if (found != XCB_WINDOW_NONE) {
        selectEvents(found); // for its end
    }
    // Deferred until Qt has handled the event.
    QMetaObject::invokeMethod(this, &XEmbedTray::changed, Qt::QueuedConnection);
}

bool XEmbedTray::nativeEventFilter(const QByteArray& kind, void* message, qintptr*) {
    if (kind != "xcb_generic_event_t") {
        return false;
    }
    const auto* const event = static_cast<const xcb_generic_event_t*>(message);
    constexpr unsigned sentByClient = 0x80;
    switch (event->response_type & ~sentByClient) {
    case XCB_CLIENT_MESSAGE: {
        const auto* const clientMessage = static_cast<const xcb_client_message_event_t*>(message);
        if (clientMessage->type == manager && clientMessage->data.data32[1] == selection) {
            update();
        }
        break;
    }
    case XCB_DESTROY_NOTIFY:
        if (isThere() && static_cast<const xcb_destroy_notify_event_t*>(message)->window == owner) {
            update();
        }
        break;
    default:
        break;
    }
    return false;
}

} // namespace tavo
