#include "app/views/DesktopColourScheme.h"

#include "app/views/Theme.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <optional>

namespace tavo {

namespace {

// The portal's settings, org.freedesktop.portal.Settings: 1 prefers dark, 2 light, 0 neither.
const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.Settings");
const QString space = QStringLiteral("org.freedesktop.appearance");
const QString key = QStringLiteral("color-scheme");
constexpr unsigned prefersDark = 1;
constexpr unsigned prefersLight = 2;

/// Depending on the portal's version, the value is a variant within a variant.
unsigned numberIn(QVariant value) {
    while (value.canConvert<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value.toUInt();
}

} // namespace

class DesktopColourScheme::Listener final : public QObject {
    Q_OBJECT

public:
    Listener() : isDesktopDark(Theme::of(QApplication::palette()).isDark) {
        apply();
        auto bus = QDBusConnection::sessionBus();
        bus.connect(service, path, interface, QStringLiteral("SettingChanged"), this,
                    SLOT(settingChanged(QDBusMessage)));
        auto call = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
        call << space << key;
        auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
            const QDBusPendingReply<QDBusVariant> reply = *finished;
            if (reply.isValid()) {
                choose(numberIn(reply.value().variant()));
            }
            finished->deleteLater();
        });
    }

private Q_SLOTS:
    // Takes the message itself: Qt connects no slot with the signal's types, since one of them is a variant.
    void settingChanged(const QDBusMessage& signal) {
        const auto arguments = signal.arguments();
        if (arguments.size() == 3 && arguments.at(0) == space && arguments.at(1) == key) {
            choose(numberIn(arguments.at(2)));
        }
    }

private:
    void choose(unsigned scheme) {
        preference = scheme == prefersDark    ? std::optional(true)
                     : scheme == prefersLight ? std::optional(false)
                                              : std::nullopt;
        apply();
    }

    void apply() const {
        const auto& theme = preference.value_or(isDesktopDark) ? Theme::dark() : Theme::light();
        QApplication::setPalette(theme.palette());
    }

    /// Judged by the colours that the platform gave Qt.
    bool isDesktopDark;
    std::optional<bool> preference;
};

DesktopColourScheme::DesktopColourScheme() : listener(std::make_unique<Listener>()) {}

DesktopColourScheme::~DesktopColourScheme() = default;

} // namespace tavo

#include "DesktopColourScheme.moc"
