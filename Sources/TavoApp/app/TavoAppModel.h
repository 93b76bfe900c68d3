#pragma once

#include "app/ApplicationControlling.h"
#include "app/MainLoop.h"
#include "app/MatchedExits.h"
#include "app/Platform.h"
#include "app/StatusCopy.h"
#include "app/WorkSession.h"
#include "config/TavoStore.h"
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

/// What of the model has changed.
enum class ModelProperty : unsigned {
    config = 1U << 0U,
    runtimeSnapshot = 1U << 1U,
    powerStatus = 1U << 2U,
    lastError = 1U << 3U,
    configFileError = 1U << 4U,
    assertionNotice = 1U << 5U,
    helperInstallState = 1U << 6U,
    draftConfig = 1U << 7U,
    isInstallingHelper = 1U << 8U,
    supportsSilentHelperReset = 1U << 9U,
    editedFileNotice = 1U << 10U,
};

/// A set of properties: bits of ModelProperty.
using ModelChanges = unsigned;

/// Owns what a running Tavo is made of: drives the evaluations, keeps the configuration and the draft of it that the
/// settings window edits, and has the helper installed and removed. Lives on the main thread; callbacks hold it weakly.
class TavoAppModel final : public std::enable_shared_from_this<TavoAppModel> {
public:
    /// Reads configuration and state, and writes back what differs once it has been brought into order. An unreadable
    /// configuration does not stop it: it starts with the default one, switched off, and configFileError() says why.
    /// Evaluates nothing yet, see start().
    /// @param application  outlives the model.
    /// @param whileWorking  to stay awake only while the matched programs work; nothing for as long as they run.
    static std::shared_ptr<TavoAppModel> make(std::shared_ptr<MainLoop> mainLoop,
                                              std::shared_ptr<const TavoStoring> store, Platform platform,
                                              ApplicationControlling& application,
                                              const std::optional<WorkRequirement>& whileWorking = std::nullopt);

    TavoAppModel(const TavoAppModel&) = delete;
    TavoAppModel& operator=(const TavoAppModel&) = delete;
    ~TavoAppModel();

    /// Posts the first evaluation when the configuration is switched on, or else arms the timer.
    void start();

    /// Picks up an edited configuration, reads the power status, and has the coordinator decide and act. A failure stops
    /// the loop until the next call.
    void evaluateNow();

    /// Looks at the helper again, which somebody else may have installed, replaced or removed, and then evaluates: what a
    /// request to look around means.
    void refresh();

    /// Switches off, leaving unsaved edits alone; or switches on with the always trigger, on the present power source,
    /// replacing any unsaved edits. Which of the two is decided by config() as it stands, which the control that calls
    /// this is labelled by, even when the file is found to say otherwise.
    void toggleEnabled();

    /// Puts an edit where saveDraft() finds it. Nothing is checked yet.
    void editDraft(const AppConfig& draft);

    /// Puts the draft into force, or says in lastError() what is wrong with it and changes nothing. When the system needs time
    /// for launch at login, the rest is done in the background and the draft is in force after that.
    void saveDraft();

    void revertDraft();

    /// Installs the helper in the background; the system asks the user. Does nothing while it is at work already.
    void installHelper();

    /// Has the helper remove itself, when it is one that may be trusted to. Does nothing while it is at work already.
    void resetHelper();

    /// Shows the settings window in front of everything.
    void openSettings();

    /// Releases everything, persists that nothing is held, arms nothing any more, calls off what waits for an administrator,
    /// and ends the program. Once is enough.
    void quit();

    /// Releases everything for as long as this process is stopped; evaluateNow() takes it again. Gives false when something
    /// could not be released, as an override of a helper that does not answer.
    bool releaseEverything();

    /// The configuration in force.
    const AppConfig& config() const { return appliedConfig; }

    /// The configuration as it is being edited.
    const AppConfig& draftConfig() const { return draft; }
    bool hasUnsavedEdits() const { return !(draft == appliedConfig); }
    const RuntimeSnapshot& runtimeSnapshot() const { return snapshot; }
    const PowerStatus& powerStatus() const { return power; }

    /// What there is of the privileged helper.
    PrivilegedHelperInstallState helperInstallState() const { return helperState; }

    /// While an installation or a reset runs.
    bool isInstallingHelper() const { return isHelperWorkRunning; }

    /// The text of the last failure; absent after a successful evaluation.
    const std::optional<std::string>& lastError() const { return lastErrorText; }

    /// Why the configuration file could not be read; absent once it has been read again.
    const std::optional<std::string>& configFileError() const { return configFileErrorText; }

    /// Where an edited configuration file is kept that unsaved edits have kept from coming into force; absent after the
    /// user's next step.
    const std::optional<std::string>& editedFileNotice() const { return editedFileNoticeText; }

    /// What is held less than planned, in the words of the assertion's child.
    std::optional<std::string> assertionNotice() const { return platform.assertionStatus->notice(); }

    RuntimeStatusCopy runtimeStatusCopy() const {
        return RuntimeStatusCopy::make(appliedConfig, snapshot, power, platform.machineNoun);
    }
    std::string helperStatusTitle() const { return tavo::helperStatusTitle(helperState); }
    std::string helperStatusDetail() const { return tavo::helperStatusDetail(helperState); }

    /// Whether the configuration in force covers a closed lid and the helper that this takes is not ready.
    bool needsClosedLidPermission() const;

    /// Whether there is a helper to install, and none is being installed.
    bool canInstallHelper() const { return !isHelperWorkRunning && platform.helperSource(); }

    /// Whether the helper is ready and this build's own, so that it may be asked to remove itself. As of the last look.
    bool supportsSilentHelperReset() const { return canResetSilently; }

    /// Whether the assertion's child has ended unasked, and nothing keeps awake until a new one runs.
    bool hasLostAssertion() const {
        return !snapshot.isWakeAssertionActive && snapshot.lastDecisionReason == RuntimeDecisionReason::active;
    }

    /// Whether the matched programs work, as of the last look; nothing unless that was asked for.
    std::optional<WorkActivity> workActivity() const { return work.activity(); }

    /// The failure that stopped the loop; null while it runs.
    const std::exception_ptr& evaluationFailure() const { return failure; }

    /// Called on the main thread once after every operation that changed something.
    void onChange(std::function<void(ModelChanges)> observer) { changeObserver = std::move(observer); }

private:
    TavoAppModel(std::shared_ptr<MainLoop> mainLoop, std::shared_ptr<const TavoStoring> store, Platform platform,
                 ApplicationControlling& application, const std::optional<WorkRequirement>& whileWorking);

    using ErrorText = std::optional<std::string>;

    /// What became of an installation or a reset.
    struct HelperOutcome;

    /// A save that waits for launch at login.
    struct SaveInProgress;

    /// A save that failed: it is tried again, and until it works the file is not believed.
    struct PendingSave {
        AppConfig inFile;
        std::string error;
    };

    void loadAtStart();
    void followSwitch();
    void observeAssertion();
    void observePower();
    void observeExits();
    void assertionChanged();
    void powerMayHaveChanged();

    void evaluate();
    void applyFailure(const std::exception& error);
    void beginHistory() const;
    void recordHistory() const;
    void scheduleNextEvaluation(double seconds);
    void persistBestEffort(const RuntimeSnapshot& toPersist) const;
    std::shared_ptr<RuntimeCoordinator> makeCoordinator() const;
    void rebuildCoordinator(bool restartIfEnabled);
    void releaseReplaced();
    void lookForHelper();
    void watchHelperIfNeeded();
    void lookAtHelperAgain();
    bool hasStuckOverride() const;
    void releaseStuck();

    void reloadPersistedConfigIfSafe();
    void adoptFileConfig(const AppConfig& inFile);
    void adoptEditedFile();
    void keepEditedFileAside(const AppConfig& toBeSaved);
    void forgetEditedFile() { publish(ModelProperty::editedFileNotice, editedFileNoticeText, std::nullopt); }
    void publishConfig(const AppConfig& config);
    void save(const AppConfig& config);
    void putIntoForce(const AppConfig& checked);
    void saveAfter(LaunchAtLoginManaging::Remainder work, SaveInProgress save);
    void finishSave();
    void saveWhatIsPending();
    bool isAsWhenAskedFor(const SaveInProgress& pending) const;
    void saveAppliedConfig();
    void saveWhatIsOverdue();
    void persistConfigAndReschedule();

    void refreshHelperInstallState(bool restartIfEnabled);
    void reassertOverride(bool restartIfEnabled);
    void publishHelperState(PrivilegedHelperInstallState state);
    void updateClosedLidPermissionGranted(bool granted, bool restartIfEnabled);
    void beginHelperWork(std::function<HelperOutcome()> work, void (TavoAppModel::*finish)(const HelperOutcome&));
    void finishInstall(const HelperOutcome& outcome);
    void finishReset(const HelperOutcome& outcome);

    /// Runs `operation`, which must not throw, as one step that is announced as a whole. Nothing happens after a quit.
    template <typename Operation>
    void perform(Operation&& operation);

    /// Assigns a published property and remembers that it changed.
    template <typename Value, typename NewValue>
    void publish(ModelProperty property, Value& current, NewValue&& next);
    void fail(const std::string& text) { publish(ModelProperty::lastError, lastErrorText, text); }
    void clearError() { publish(ModelProperty::lastError, lastErrorText, std::nullopt); }

    std::shared_ptr<MainLoop> mainLoop;
    std::shared_ptr<const TavoStoring> store;
    Platform platform;
    ApplicationControlling& application;
    WorkSession work;
    std::unique_ptr<MainLoopTimer> timer;

    AppConfig appliedConfig;
    AppConfig draft;
    RuntimeSnapshot snapshot;
    PowerStatus power;
    PrivilegedHelperInstallState helperState;
    bool canResetSilently = false;
    bool isHelperWorkRunning = false;

    /// Whether an installation has put something else in the helper's place, and it is still there.
    bool isHelperForeign = false;

    /// While launch at login is still being set up.
    std::shared_ptr<const SaveInProgress> saveInProgress;

    std::shared_ptr<RuntimeCoordinator> coordinator;

    /// Replaced while they could not give back an override: a helper that comes back keeps it in force for this process.
    std::vector<std::shared_ptr<RuntimeCoordinator>> replaced;

    /// Looks for a helper that is installed, does not answer, and is needed, or has an override end that could not be ended.
    std::unique_ptr<MainLoopTimer> helperTimer;
    ErrorText lastErrorText;
    ErrorText configFileErrorText;
    ErrorText editedFileNoticeText;
    std::exception_ptr failure;
    bool hasQuit = false;

    /// While keeping awake is switched on.
    std::unique_ptr<ProcessActivity> activity;

    /// What the file held when it was read or written last.
    AppConfig lastInFile;
    std::optional<PendingSave> pendingSave;

    std::unique_ptr<SettingsWindowControlling> settingsWindow;
    std::function<void(ModelChanges)> changeObserver;
    ModelChanges pendingChanges = 0;
    int operationsUnderWay = 0;

    /// Last, so that no notice comes in while the rest is being destroyed.
    std::unique_ptr<PowerChangeWatch> powerWatch;
    std::optional<MatchedExits> exits;
};

template <typename Operation>
void TavoAppModel::perform(Operation&& operation) {
    if (hasQuit) {
        return;
    }
    ++operationsUnderWay;
    operation();
    --operationsUnderWay;
    if (operationsUnderWay == 0) {
        followSwitch();
        recordHistory();
        const auto changes = std::exchange(pendingChanges, 0U);
        if (changes != 0 && changeObserver) {
            changeObserver(changes);
        }
    }
}

template <typename Value, typename NewValue>
void TavoAppModel::publish(ModelProperty property, Value& current, NewValue&& next) {
    Value value(std::forward<NewValue>(next));
    if (!(current == value)) {
        current = std::move(value);
        pendingChanges |= static_cast<ModelChanges>(property);
    }
}

} // namespace tavo
