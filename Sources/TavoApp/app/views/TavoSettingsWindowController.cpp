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

/// Room for the title bar that a window manager adds, with large fonts too.
constexpr int frameAllowance = 56;

} // namespace

QSize settingsContentSize(double scale, const QSize& available) {
    const QSize grown(static_cast<int>(std::lround(contentSize.width() * scale)),
                      static_cast<int>(std::lround(contentSize.height() * scale)));
    // Too small a screen is no reason to cut what was drawn for every one.
    return available.isEmpty() ? grown : grown.boundedTo(available - QSize(0, frameAllowance)).expandedTo(contentSize);
}

/// A window that is put away when it is closed, and shows the settings when it comes back.
class TavoSettingsWindowController::Window final : public QWidget {
public:
    Window(ModelObserver& observer, const QString& machineNoun, bool startsWithSettings)
        : QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                               Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint),
          view(new TavoSettingsView(observer, machineNoun, this)) {
        setWindowTitle(QStringLiteral("tavo"));
        setWindowIcon(TavoAppIcon::image());
        setObjectName(QStringLiteral("settings"));
        // The ground shows through where the window system can do that.
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

protected:
    void closeEvent(QCloseEvent* event) override {
        view->setShowsSettings(true);
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
    // No control is to stand out as if it had been chosen.
    settingsWindow->view->setFocus();
    settingsWindow->show();
}

void TavoSettingsWindowController::bringToFront() {
    settingsWindow->raise();
    settingsWindow->activateWindow();
    bringPlatformWindowToFront(*settingsWindow);
}

} // namespace tavo
