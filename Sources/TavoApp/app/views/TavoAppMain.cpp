#include "app/views/TavoAppMain.h"

#include "app/views/Accessibility.h"
#include "app/views/Activation.h"
#include "app/views/PlatformWindow.h"
#include "app/views/TavoAppIcon.h"
#include "app/views/TavoSettingsWindowController.h"
#include "base/JsonCoding.h"

#include <QApplication>

namespace tavo {

namespace {

/// Longer than an interrupted command takes, and short enough that quitting stays under a second.
constexpr std::chrono::milliseconds patience{800};

} // namespace

void TavoAppDelegate::applicationDidFinishLaunching(const std::shared_ptr<TavoAppModel>& model, MainLoop& mainLoop,
                                                    bool isHidden) const {
    QApplication::setWindowIcon(TavoAppIcon::image());
    preparePlatformApplication([weakModel = std::weak_ptr(model)] {
        if (const auto strongModel = weakModel.lock()) {
            strongModel->openSettings();
        }
    });
    if (isHidden) {
        return;
    }
    mainLoop.post([weakModel = std::weak_ptr(model)] {
        if (const auto strongModel = weakModel.lock()) {
            strongModel->openSettings();
        }
    });
}

void TavoAppDelegate::applicationShouldHandleReopen(TavoAppModel& model) const {
    model.openSettings();
}

std::string TavoAppMain::lockNote(bool hasUnsavedEdits, const std::optional<WorkRequirement>& whileWorking,
                                  const std::optional<std::string>& assertionNotice) {
    Json note{{InstanceLock::windowKey, true}, {InstanceLock::unsavedEditsKey, hasUnsavedEdits}};
    if (whileWorking) {
        note[WorkRequirement::noteKey] = *whileWorking;
    }
    if (assertionNotice) {
        note[InstanceLock::assertionNoticeKey] = *assertionNotice;
    }
    return note.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::vector<int> TavoAppMain::handledSignals() {
    auto signals = quittingSignals();
    for (const int signal : stoppingSignals()) {
        signals.push_back(signal);
    }
    signals.push_back(SIGUSR1);
    signals.push_back(SIGUSR2);
    return signals;
}

TavoAppMain::TavoAppMain(Options options, std::shared_ptr<const TavoStoring> store, Platform platform,
                         InstanceLock lock)
    : options(options), machineNoun(platform.machineNoun), lock(std::move(lock)),
      appModel(TavoAppModel::make(mainLoop, std::move(store), std::move(platform), *this, options.whileWorking)),
      observer(std::make_unique<ModelObserver>(appModel)),
      menuBar(std::make_unique<TavoMenuBarExtra>(*observer, *tray)) {
    QApplication::setQuitOnLastWindowClosed(false);
    prepareAccessibility();
    connect(observer.get(), &ModelObserver::changed, this, &TavoAppMain::updateLockNote);
    // However the application ends, also with the desktop's session, everything is released.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { appModel->quit(); });
    signals = std::make_unique<SignalWatch>(
        handledSignals(), [this](int signal) { mainLoop->post([this, signal] { handleSignal(signal); }); });
    requests =
        listenForWindowRequests(this->lock.location(), [this](const WindowRequest& request) { carryOut(request); });
    delegate.applicationDidFinishLaunching(appModel, *mainLoop, options.isHidden);
    appModel->start();
    if (!showsWindow(options.action)) {
        carryOut({.action = options.action});
    }
}

TavoAppMain::~TavoAppMain() {
    requests.reset();
    signals.reset();
    appModel->quit();
}

bool TavoAppMain::finish() {
    appModel->quit();
    return mainLoop->waitForBackgroundWork(patience);
}

void TavoAppMain::handleSignal(int signal) {
    if (signal == SIGUSR1) {
        appModel->refresh();
    } else if (signal == SIGUSR2) {
        showWindow({});
    } else if (signal == SIGTSTP) {
        if (appModel->releaseEverything()) {
            stopUntilContinued();
        }
        appModel->evaluateNow();
    } else {
        appModel->quit();
    }
}

void TavoAppMain::carryOut(const WindowRequest& request) {
    if (showsWindow(request.action)) {
        showWindow(request);
    } else {
        setEnabled(request.action == RequestedAction::enable);
    }
}

void TavoAppMain::setEnabled(bool isEnabled) {
    if (appModel->config().isEnabled != isEnabled) {
        appModel->toggleEnabled();
    }
}

void TavoAppMain::showWindow(const WindowRequest& request) {
    useActivation(request);
    if (request.action == RequestedAction::showSettings) {
        observer->showSettings();
    } else {
        delegate.applicationShouldHandleReopen(*appModel);
    }
    // Posted, since the model posts bringing the window to the front.
    mainLoop->post([this, request] {
        if (window) {
            completeActivation(*window, request);
        }
    });
}

void TavoAppMain::updateLockNote() {
    const auto assertionNotice = appModel->assertionNotice();
    if (appModel->hasUnsavedEdits() == isNotedUnsaved && assertionNotice == notedAssertionNotice) {
        return;
    }
    isNotedUnsaved = appModel->hasUnsavedEdits();
    notedAssertionNotice = assertionNotice;
    try {
        lock.replaceNote(lockNote(isNotedUnsaved, options.whileWorking, assertionNotice));
    } catch (const std::exception&) {
        // Only what tavoctl says of this application depends on it.
    }
}

void TavoAppMain::orderOutKeyWindow() {
    if (auto* popup = QApplication::activePopupWidget()) {
        popup->hide();
    }
    menuBar->closePanel();
    if (window) {
        prepareForActivation(*window);
    }
}

std::unique_ptr<SettingsWindowControlling> TavoAppMain::makeSettingsWindow(TavoAppModel&) {
    const bool startsWithSettings = options.isHidden || options.action == RequestedAction::showSettings;
    auto controller = std::make_unique<TavoSettingsWindowController>(*observer, QString::fromStdString(machineNoun),
                                                                     startsWithSettings);
    auto* const view = &controller->view();
    window = &controller->window();
    const auto showTrayHint = [this, view] { view->setHint(trayHint.text()); };
    connect(&trayHint, &TrayHint::changed, view, showTrayHint);
    showTrayHint();
    return controller;
}

void TavoAppMain::terminate() {
    QCoreApplication::quit();
}

} // namespace tavo
