#pragma once

#include "app/ApplicationControlling.h"
#include "app/Platform.h"
#include "app/ProcessSignals.h"
#include "app/TavoAppModel.h"
#include "app/views/ModelObserver.h"
#include "app/views/QtMainLoop.h"
#include "app/views/TavoMenuBarExtra.h"
#include "app/views/TrayWatch.h"
#include "app/views/WindowRequests.h"
#include "config/InstanceLock.h"
#include "config/TavoStore.h"

#include <QObject>
#include <QPointer>
#include <memory>
#include <optional>

namespace tavo {

/// Handles the launch and the reopening of the application.
class TavoAppDelegate final {
public:
    /// Called once the main loop is about to run: the settings window opens at every launch, unless it is a hidden one.
    void applicationDidFinishLaunching(const std::shared_ptr<TavoAppModel>& model, MainLoop& mainLoop,
                                       bool isHidden) const;

    /// Called when the application is started a second time, or its icon is clicked.
    void applicationShouldHandleReopen(TavoAppModel& model) const;
};

/// The desktop app: one model, the item in the tray, the settings window, and the signals of the process.
class TavoAppMain final : public QObject, private ApplicationControlling {
public:
    struct Options {
        /// Starts without its window.
        bool isHidden = false;

        /// Carried out once it has started.
        RequestedAction action = RequestedAction::showWindow;

        /// To stay awake only while the matched programs work.
        std::optional<WorkRequirement> whileWorking = {};
    };

    /// Must be made after the application object, with the signals of handledSignals() blocked.
    /// @param lock  of the one Tavo, whose note says whether there are unsaved edits, and which locks are missing.
    TavoAppMain(Options options, std::shared_ptr<const TavoStoring> store, Platform platform, InstanceLock lock);
    ~TavoAppMain() override;

    /// Called when the main loop has ended: releases everything. Returns false if background work does not finish
    /// shortly: the process must then exit without waiting, since it has no window and handles no signal any more.
    [[nodiscard]] bool finish();

    /// The lock's note of a desktop app.
    /// @param assertionNotice  the planned locks that could not be taken.
    static std::string lockNote(bool hasUnsavedEdits, const std::optional<WorkRequirement>& whileWorking,
                                const std::optional<std::string>& assertionNotice = std::nullopt);

    /// Those that end or stop the program, SIGUSR1 (refresh) and SIGUSR2 (show the window).
    static std::vector<int> handledSignals();

    TavoAppModel& model() const { return *appModel; }
    TavoMenuBarExtra& menuBarExtra() { return *menuBar; }

private:
    void orderOutKeyWindow() override;
    std::unique_ptr<SettingsWindowControlling> makeSettingsWindow(TavoAppModel& model) override;
    void terminate() override;

    void handleSignal(int signal);
    void carryOut(const WindowRequest& request);
    void showWindow(const WindowRequest& request);
    void setEnabled(bool isEnabled);
    void updateLockNote();

    Options options;
    std::string machineNoun;
    InstanceLock lock;
    bool isNotedUnsaved = false;
    std::optional<std::string> notedAssertionNotice;
    std::shared_ptr<QtMainLoop> mainLoop = std::make_shared<QtMainLoop>();
    TavoAppDelegate delegate;
    std::shared_ptr<TavoAppModel> appModel;
    std::unique_ptr<ModelObserver> observer;
    std::unique_ptr<TrayWatch> tray = watchTray();
    TrayHint trayHint{*tray, *mainLoop};
    std::unique_ptr<TavoMenuBarExtra> menuBar;
    QPointer<QWidget> window;
    std::unique_ptr<SignalWatch> signals;
    std::unique_ptr<WindowRequestListening> requests;
};

} // namespace tavo
