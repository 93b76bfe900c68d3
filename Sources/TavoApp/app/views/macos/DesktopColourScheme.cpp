#include "app/views/DesktopColourScheme.h"

#include "app/views/Theme.h"
#include "app/views/macos/NativeApplication.h"

#include <QApplication>

namespace tavo {

class DesktopColourScheme::Listener final {
public:
    Listener() {
        apply();
        observeAppearance([] {
            // The application's own appearance follows a moment after the announcement.
            QMetaObject::invokeMethod(qApp, apply, Qt::QueuedConnection);
        });
    }

private:
    static void apply() { QApplication::setPalette((isAppearanceDark() ? Theme::dark() : Theme::light()).palette()); }
};

DesktopColourScheme::DesktopColourScheme() : listener(std::make_unique<Listener>()) {}

DesktopColourScheme::~DesktopColourScheme() = default;

} // namespace tavo
