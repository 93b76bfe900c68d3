#pragma once

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <QObject>

namespace tavo {

/// Watches an X server for a tray that embeds windows: it owns a selection of the screen, System Tray Protocol 0.4.
class XEmbedTray final : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    /// Without a connection there is never a tray.
    explicit XEmbedTray(xcb_connection_t* connection);

    bool isThere() const { return owner != XCB_WINDOW_NONE; }

Q_SIGNALS:
    void changed();

private:
    bool nativeEventFilter(const QByteArray& kind, void* message, qintptr* result) override;
    void update();
    void selectEvents(xcb_window_t window);

    xcb_connection_t* connection;
    xcb_atom_t manager = XCB_ATOM_NONE;
    xcb_atom_t selection = XCB_ATOM_NONE;
    xcb_window_t owner = XCB_WINDOW_NONE;
};

} // namespace tavo
