#include "app/views/TavoMenuBarExtra.h"

#include "app/views/DesktopNotification.h"
#include "app/views/PanelPlacement.h"
#include "app/views/PlatformWindow.h"
#include "app/views/StatusItemIcon.h"
#include "app/views/TavoWindowGlassBackground.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QWindow>
#include <algorithm>

namespace tavo {

namespace {

Qt::WindowFlags flagsOf(PanelKind kind) {
    switch (kind) {
    case PanelKind::popup:
        return Qt::Popup | Qt::FramelessWindowHint;
    case PanelKind::activeWindow:
        return Qt::Dialog | Qt::FramelessWindowHint;
    case PanelKind::dialog:
        break;
    }
    return Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;
}

bool isAnyWindowShown() {
    const auto windows = QGuiApplication::topLevelWindows();
    return std::any_of(windows.begin(), windows.end(), [](const QWindow* window) { return window->isVisible(); });
}

} // namespace

TavoMenuBarExtra::TavoMenuBarExtra(ModelObserver& observer, const TrayWatch& tray)
    : observer(observer), tray(tray), toggleAction(new QAction(&contextMenu)) {
    fillMenu();
    // For changes of the palette.
    contextMenu.installEventFilter(this);
    connect(&observer, &ModelObserver::changed, this, &TavoMenuBarExtra::showModel);
    connect(&tray, &TrayWatch::changed, this, &TavoMenuBarExtra::makeItem);
    showModel(~ModelChanges());
    makeItem();
}

TavoMenuBarExtra::~TavoMenuBarExtra() = default;

PanelWindow& TavoMenuBarExtra::panel() {
    if (!panelWindow) {
        panelWindow = makePanel();
    }
    return *panelWindow;
}

std::unique_ptr<PanelWindow> TavoMenuBarExtra::makePanel() {
    auto window = std::make_unique<PanelWindow>(flagsOf(panelKind()), isWindowSystemComposited);
    window->setWindowTitle(QStringLiteral("tavo"));
    window->setObjectName(QStringLiteral("panel"));
    auto* view = new TavoMenuBarView(
        observer, [this] { closePanel(); }, window.get());
    window->setPanel(*view);
    window->setFocusProxy(view);
    window->installEventFilter(this);
    return window;
}

/// Called only once there is a tray: Qt detects the kind of tray once, with the first item. The item stays when its
/// tray goes: Qt shows it in the next one of that kind.
void TavoMenuBarExtra::makeItem() {
    if (statusItem || !tray.isThere()) {
        return;
    }
    statusItem = std::make_unique<QSystemTrayIcon>();
    if (trayReportsClicksWithMenu()) {
        statusItem->setContextMenu(&contextMenu);
    }
    connect(statusItem.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason != QSystemTrayIcon::Context) {
            togglePanel();
        }
    });
    showState();
    statusItem->show();
    labelStatusItem(QStringLiteral("tavo"));
}

void TavoMenuBarExtra::fillMenu() {
    contextMenu.addAction(toggleAction);
    connect(toggleAction, &QAction::triggered, this, [this] { observer.model().toggleEnabled(); });
    connect(contextMenu.addAction(QStringLiteral("settings")), &QAction::triggered, this,
            [this] { observer.showSettings(); });
    connect(contextMenu.addAction(QStringLiteral("quit")), &QAction::triggered, this,
            [this] { observer.model().quit(); });
}

void TavoMenuBarExtra::showModel(ModelChanges) {
    const auto& model = observer.model();
    toggleAction->setText(model.config().isEnabled ? QStringLiteral("pause") : QStringLiteral("enable"));
    showState();
    if (const auto text = awakeEnd.update(model)) {
        notifyUser(statusItem.get(), QStringLiteral("tavo"), QString::fromStdString(*text));
    }
}

void TavoMenuBarExtra::showState() {
    if (!statusItem) {
        return;
    }
    if (shownHeld != observer.model().runtimeSnapshot().isWakeAssertionActive) {
        showIcon();
    }
    // For users who cannot tell the icons apart.
    const auto title = observer.model().runtimeStatusCopy().title;
    statusItem->setToolTip(QStringLiteral("tavo: ") + QString::fromStdString(title));
}

void TavoMenuBarExtra::showIcon() {
    if (!statusItem) {
        return;
    }
    shownHeld = observer.model().runtimeSnapshot().isWakeAssertionActive;
    auto& icon = *shownHeld ? heldIcon : idleIcon;
    if (icon.isNull()) {
        icon = statusItemIcon(*shownHeld, QGuiApplication::palette().color(QPalette::WindowText));
    }
    statusItem->setIcon(icon);
}

void TavoMenuBarExtra::togglePanel() {
    if (panel().isVisible()) {
        closePanel();
        return;
    }
    panelWindow->prepareToShow();
    if (canPlaceWindows()) {
        placePanel();
    }
    panelWindow->show();
    panelWindow->raise();
    panelWindow->activateWindow();
    bringPanelToFront(*panelWindow);
    panelWindow->setFocus(Qt::PopupFocusReason);
}

void TavoMenuBarExtra::placePanel() {
    auto anchor = statusItem ? statusItem->geometry() : QRect();
    if (anchor.isEmpty()) {
        // A tray that draws the icon itself does not report its position, but the click was a moment ago.
        anchor = QRect(QCursor::pos(), QSize(1, 1));
    }
    const auto* screen = QGuiApplication::screenAt(anchor.center());
    if (screen == nullptr) {
        anchor = {};
        screen = QGuiApplication::primaryScreen();
    }
    if (screen != nullptr) {
        const auto panel = panelWindow->panelRect();
        panelWindow->move(panelPosition(anchor, screen->geometry(), screen->availableGeometry(), panel.size(),
                                        QGuiApplication::layoutDirection()) -
                          panel.topLeft());
    }
}

void TavoMenuBarExtra::closePanel() {
    // Closing the window deactivates it first, which calls this function again.
    if (isClosing || !panelWindow || !panelWindow->isVisible()) {
        return;
    }
    isClosing = true;
    panelWindow->hide();
    isClosing = false;
    // Deferred until it is known whether the action shows another window, such as the settings.
    QMetaObject::invokeMethod(
        this,
        [] {
            if (!isAnyWindowShown()) {
                returnActivation();
            }
        },
        Qt::QueuedConnection);
}

bool TavoMenuBarExtra::eventFilter(QObject* watched, QEvent* event) {
    if (watched != panelWindow.get()) {
        if (event->type() == QEvent::PaletteChange) {
            heldIcon = {};
            idleIcon = {};
            showIcon();
        }
        return QObject::eventFilter(watched, event);
    }
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        closePanel();
        return true;
    }
    if (event->type() == QEvent::WindowDeactivate && panelKind() != PanelKind::popup) {
        closePanel();
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tavo
