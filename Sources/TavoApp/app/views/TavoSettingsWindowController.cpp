#include "app/views/TavoSettingsWindowController.h"

#include "app/views/PlatformWindow.h"
#include "app/views/TavoAppIcon.h"
#include "app/views/Theme.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>
#include <cmath>

namespace tavo {

namespace {

constexpr QSize contentSize(378, 350);

/// Height of a title bar, even with large fonts.
constexpr int frameAllowance = 56;

} // namespace

QSize settingsContentSize(double scale, const QSize& available) {
    const QSize grown(static_cast<int>(std::lround(contentSize.width() * scale)),
                      static_cast<int>(std::lround(contentSize.height() * scale)));
    // A small screen is no reason to make it smaller than its original size.
    return available.isEmpty() ? grown : grown.boundedTo(available - QSize(0, frameAllowance)).expandedTo(contentSize);
}

/// A window that is hidden when it is closed, and shows the settings when it is opened again.
class TavoSettingsWindowController::Window final : public QWidget {
public:
    Window(ModelObserver& observer, const QString& machineNoun, bool startsWithSettings)
        : QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                               Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint),
          view(new TavoSettingsView(observer, machineNoun, this)) {
        setWindowTitle(QStringLiteral("tavo"));
        setWindowIcon(TavoAppIcon::image());
        setObjectName(QStringLiteral("settings"));
        // Translucent where the window system supports it.
        setAttribute(Qt::WA_TranslucentBackground);
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(view);
        view->setShowsSettings(startsWithSettings);
        const auto* const screen = QGuiApplication::primaryScreen();
        setFixedSize(settingsContentSize(Typography::scale(font()),
                                         screen == nullptr ? QSize() : screen->availableGeometry().size()));
        preparePlatformWindow(*this);
    }

    TavoSettingsView* const view;

    /// It welcomes once.
    bool hasBeenClosed = false;

protected:
    void closeEvent(QCloseEvent* event) override {
        hasBeenClosed = true;
        QWidget::closeEvent(event);
    }
};

TavoSettingsWindowController::TavoSettingsWindowController(ModelObserver& observer, const QString& machineNoun,
                                                           bool startsWithSettings)
    : settingsWindow(std::make_unique<Window>(observer, machineNoun, startsWithSettings)) {
    if (const auto* screen = QGuiApplication::primaryScreen()) {
        settingsWindow->move(screen->availableGeometry().center() - settingsWindow->rect().center());
    }
}

TavoSettingsWindowController::~TavoSettingsWindowController() = default;

QWidget& TavoSettingsWindowController::window() const {
    return *settingsWindow;
}

TavoSettingsView& TavoSettingsWindowController::view() const {
    return *settingsWindow->view;
}

void TavoSettingsWindowController::showWindow() {
    settingsWindow->setWindowState(settingsWindow->windowState() & ~Qt::WindowMinimized);
    if (settingsWindow->hasBeenClosed) {
        settingsWindow->view->setShowsSettings(true);
    }
    // No control should look as if the user had chosen it.
    settingsWindow->view->setFocus();
    settingsWindow->show();
}

void TavoSettingsWindowController::bringToFront() {
    settingsWindow->raise();
    settingsWindow->activateWindow();
    bringPlatformWindowToFront(*settingsWindow);
}

} // namespace tavo
