#include "app/views/TrayWatch.h"

#include "app/views/linux/StatusNotifierHosts.h"
#include "app/views/linux/XEmbedTray.h"

#include <QGuiApplication>

namespace tavo {

namespace {

xcb_connection_t* serverOfApplication() {
    // Other window systems give the interface as well, without a server behind it.
    const auto* const x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr && QGuiApplication::platformName() == QStringLiteral("xcb") ? x11->connection() : nullptr;
}

/// Either kind of tray.
class AnyTray final : public TrayWatch {
public:
    AnyTray() {
        connect(&hosts, &StatusNotifierHosts::changed, this, &TrayWatch::changed);
        connect(&embedding, &XEmbedTray::changed, this, &TrayWatch::changed);
    }

    bool isThere() const override { return hosts.areThere() || embedding.isThere(); }

private:
    StatusNotifierHosts hosts{QDBusConnection::sessionBus()};
    XEmbedTray embedding{serverOfApplication()};
};

} // namespace

std::unique_ptr<TrayWatch> watchTray() {
    return std::make_unique<AnyTray>();
}

} // namespace tavo
