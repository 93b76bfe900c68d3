#pragma once

#include "app/ApplicationControlling.h"
#include "app/ConfigurationDocument.h"
#include "app/MainLoop.h"
#include "app/MatchedExits.h"
#include "app/ModelProperty.h"
#include "app/Platform.h"
#include "app/StateRecord.h"
#include "app/StatusCopy.h"
#include "app/WorkSession.h"
#include "helper/PrivilegedHelperInstaller.h"
#include "runtime/RuntimeCoordinator.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavo {

/// Owns what a running Tavo is made of: drives the evaluations, keeps the configuration document, and has the helper
/// installed and removed. Lives on the main thread; callbacks hold it weakly.
class TavoAppModel final : public std::enable_shared_from_this<TavoAppModel> {
public:
    /// Reads configuration and state, and writes them back if normalising changed them. If the configuration is
    /// unreadable, the model starts with the default one, switched off, and configFileError() says why. Evaluates
    /// nothing yet, see start().
    /// @param application  outlives the model.
    /// @param whileWorking  keeps awake only while the matched programs work; otherwise for as long as they run.
    static std::shared_ptr<TavoAppModel> make(std::shared_ptr<MainLoop> mainLoop,
                                              std::shared_ptr<const TavoStoring> store, Platform platform,
                                              ApplicationControlling& application,
                                              const std::optional<WorkRequirement>& whileWorking = std::nullopt);

    TavoAppModel(const TavoAppModel&) = delete;
    TavoAppModel& operator=(const TavoAppModel&) = delete;
    ~TavoAppModel();

    /// Posts the first evaluation when the configuration is switched on, or else arms the timer.
    void start();

    /// Adopts an edited configuration, reads the power status, and lets the coordinator decide and act. A failure stops
    /// the loop until the next call.
    void evaluateNow();

    /// Checks the helper again, which may have been installed, replaced or removed by another program, and then
    /// evaluates.
    void refresh();

    /// Switches off, leaving unsaved edits alone; or switches on with the always trigger, on the present power source,
    /// replacing any unsaved edits. config() as of this call decides which, since the control's label follows it, even
    /// if the file turns out to say otherwise.
    void toggleEnabled();

    /// Replaces the draft. Nothing is checked yet.
    void editDraft(const AppConfig& draft);

    /// Applies the draft, or says in lastError() what is wrong with it and changes nothing. If setting up launch at
    /// login takes time, that continues in the background and the draft is applied afterwards.
    void saveDraft();

    void revertDraft();

    /// Installs the helper in the background; the system asks the user for approval. Does nothing while an installation
    /// or a reset runs.
    void installHelper();

    /// Asks the helper to remove itself, if supportsSilentHelperReset(). Does nothing while an installation or a reset
    /// runs.
    void resetHelper();

    /// Shows the settings window in front of everything.
    void openSettings();

    /// Saves what has yet to be saved, releases everything, persists that nothing is held, stops all timers, interrupts
    /// a wait for an administrator, and ends the program. Further calls do nothing.
    void quit() { quitBecause({}); }

    /// The same for a program that ends by itself. @param why  for the history, as a clause: "it is 18:30".
    void quitBecause(const std::string& why);

    /// Releases everything for as long as this process is stopped; evaluateNow() takes it again. Returns false if
    /// something could not be released, such as the override of a helper that does not answer.
    bool releaseEverything();

    /// The applied configuration.
    const AppConfig& config() const { return configuration.applied(); }

    /// The configuration that the settings window edits.
    const AppConfig& draftConfig() const { return configuration.draft(); }
    bool hasUnsavedEdits() const { return configuration.hasUnsavedEdits(); }
    const RuntimeSnapshot& runtimeSnapshot() const { return snapshot; }
    const PowerStatus& powerStatus() const { return power; }

    /// Whether the privileged helper is installed and answers.
    PrivilegedHelperInstallState helperInstallState() const { return helperState; }

    /// True while an installation or a reset runs.
    bool isInstallingHelper() const { return isHelperWorkRunning; }

    /// The text of the last failure; absent after an evaluation that succeeded and could be written down.
    const std::optional<std::string>& lastError() const { return lastErrorText; }

    /// Why the configuration file could not be read; absent once it has been read again.
    const std::optional<std::string>& configFileError() const { return configuration.fileError(); }

    /// Says where an edited configuration file was kept because unsaved edits prevented its adoption; absent after the
    /// user's next step.
    const std::optional<std::string>& editedFileNotice() const { return configuration.editedFileNotice(); }

    /// Planned locks that could not be taken, in the words of the assertion's child.
    std::optional<std::string> assertionNotice() const { return platform.assertionStatus->notice(); }

    RuntimeStatusCopy runtimeStatusCopy() const {
        return RuntimeStatusCopy::make(config(), snapshot, power, platform.machineNoun);
    }
    std::string helperStatusTitle() const { return tavo::helperStatusTitle(helperState); }
    std::string helperStatusDetail() const { return tavo::helperStatusDetail(helperState); }

    /// Whether the applied configuration covers a closed lid and the helper that this needs is not ready.
    bool needsClosedLidPermission() const;

    /// Whether there is a helper to install, and none is being installed.
    bool canInstallHelper() const { return !isHelperWorkRunning && platform.helperSource(); }

    /// Whether the helper is ready and this build's own, so that it can be asked to remove itself. As of the last
    /// check.
    bool supportsSilentHelperReset() const { return canResetSilently; }

    /// Whether the assertion's child has exited by itself; nothing is held until a new one runs.
    bool hasLostAssertion() const {
        return !snapshot.isWakeAssertionActive && snapshot.lastDecisionReason == RuntimeDecisionReason::active;
    }

    /// Whether the matched programs work, as of the last evaluation; nothing unless that is required.
    std::optional<WorkActivity> workActivity() const { return work.activity(); }

    /// The failure of the last evaluation; null when it succeeded. It stops the loop unless isTryingAgain().
    const std::exception_ptr& evaluationFailure() const { return failure; }

    /// Whether an assertion that was lost could not be taken again so far, as while the system's service restarts. Until
    /// it can, that is tried again and again.
    bool isTryingAgain() const { return failure && timer; }

    /// Called on the main thread once after every operation that changed something.
    void onChange(std::function<void(ModelChanges)> observer) { changeObserver = std::move(observer); }

private:
    TavoAppModel(std::shared_ptr<MainLoop> mainLoop, std::shared_ptr<const TavoStoring> store, Platform platform,
                 ApplicationControlling& application, const std::optional<WorkRequirement>& whileWorking);

    using ErrorText = std::optional<std::string>;

    /// The outcome of an installation or a reset.
    struct HelperOutcome;

    void loadSnapshotAtStart();
    void followSwitch();
    void observeAssertion();
    void observePower();
    void observeExits();
    void assertionChanged();
    void powerMayHaveChanged();

    void evaluate();
    void applyFailure(const std::exception& error);
    void tryAgainIfLost(const std::exception& error);
    void beginHistory() const;
    void recordHistory() const;
    void scheduleNextEvaluation(double seconds);
    bool stopAndRelease();
    void reportUnwritten();
    std::shared_ptr<RuntimeCoordinator> makeCoordinator() const;
    void rebuildCoordinator(bool restartIfEnabled);
    void releaseReplaced();
    void refreshAwaitedHelper();
    void watchHelperIfNeeded();
    void recheckHelper();
    bool hasStuckOverride() const;
    void releaseStuck();

    void reloadPersistedConfigIfSafe();
    void adoptEditedFile();
    void finishSaveAfter(LaunchAtLoginManaging::Remainder rest);
    void finishSave(const ErrorText& problem);
    void saveBeforeQuit();
    void persistConfigAndReschedule();

    void refreshHelperInstallState(bool restartIfEnabled);
    void reassertOverride(bool restartIfEnabled);
    void publishHelperState(PrivilegedHelperInstallState state);
    void updateClosedLidPermissionGranted(bool granted, bool restartIfEnabled);
    void beginHelperWork(std::function<HelperOutcome()> operation, void (TavoAppModel::*finish)(const HelperOutcome&));
    void finishInstall(const HelperOutcome& outcome);
    void finishReset(const HelperOutcome& outcome);

    /// Runs `operation` as one step that is announced as a whole. If it throws, what it has changed is announced with
    /// the next step. Nothing happens after a quit.
    void perform(const std::function<void()>& operation);

    template <typename Value, typename NewValue>
    void publish(ModelProperty property, Value& current, NewValue&& next) {
        changes.assign(property, current, std::forward<NewValue>(next));
    }
    void fail(const std::string& text) { publish(ModelProperty::lastError, lastErrorText, text); }
    void clearError() { publish(ModelProperty::lastError, lastErrorText, std::nullopt); }

    std::shared_ptr<MainLoop> mainLoop;
    std::shared_ptr<const TavoStoring> store;
    std::shared_ptr<const StateRecord> record;
    ConfigurationDocument configuration;
    Platform platform;
    ApplicationControlling& application;
    WorkSession work;
    std::unique_ptr<MainLoopTimer> timer;

    /// In seconds, until the next attempt to take a lost assertion again; absent while none is lost.
    std::optional<double> retryInterval;

    RuntimeSnapshot snapshot;
    PowerStatus power;
    PrivilegedHelperInstallState helperState;
    bool canResetSilently = false;
    bool isHelperWorkRunning = false;

    /// Whether an installation found another program where the helper should be, and it is still there.
    bool isHelperForeign = false;

    std::shared_ptr<RuntimeCoordinator> coordinator;

    /// Coordinators that were replaced before they could end their override, which a helper that comes back continues
    /// for this process.
    std::vector<std::shared_ptr<RuntimeCoordinator>> replaced;

    /// Checks on a helper that is needed, installed and does not answer, and retries to end an override.
    std::unique_ptr<MainLoopTimer> helperTimer;
    ErrorText lastErrorText;
    std::exception_ptr failure;
    bool hasQuit = false;

    /// Present while Tavo is switched on.
    std::unique_ptr<ProcessActivity> activity;

    std::unique_ptr<SettingsWindowControlling> settingsWindow;
    std::function<void(ModelChanges)> changeObserver;
    ModelChangeRecord changes;
    int stepsUnderWay = 0;

    /// Last, so that no notification arrives while the rest is being destroyed.
    std::unique_ptr<PowerChangeWatch> powerWatch;
    std::optional<MatchedExits> exits;
};

} // namespace tavo
