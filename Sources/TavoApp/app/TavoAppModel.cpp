#include "app/TavoAppModel.h"

#include "base/ErrorText.h"

#include <atomic>

namespace tavo {

namespace {

/// In seconds. Long enough that a child that keeps dying does not load the processor.
constexpr double lostAssertionInterval = 1.0;

/// Runs a member of the model on the main thread, if there is still a main thread and a model.
std::function<void()> onMainThread(std::weak_ptr<MainLoop> mainLoop, std::weak_ptr<TavoAppModel> model,
                                   std::function<void(TavoAppModel&)> work) {
    return [mainLoop = std::move(mainLoop), model = std::move(model), work = std::move(work)] {
        if (const auto loop = mainLoop.lock()) {
            loop->post([model, work] {
                if (const auto strongModel = model.lock()) {
                    work(*strongModel);
                }
            });
        }
    };
}

/// Counts a step for as long as it is under way, also when it is left by an exception.
class StepCount {
public:
    explicit StepCount(int& steps) : count(steps) { ++count; }
    StepCount(const StepCount&) = delete;
    StepCount& operator=(const StepCount&) = delete;
    ~StepCount() { --count; }

private:
    int& count;
};

} // namespace

std::shared_ptr<TavoAppModel> TavoAppModel::make(std::shared_ptr<MainLoop> mainLoop,
                                                 std::shared_ptr<const TavoStoring> store, Platform platform,
                                                 ApplicationControlling& application,
                                                 const std::optional<WorkRequirement>& whileWorking) {
    std::shared_ptr<TavoAppModel> model(
        new TavoAppModel(std::move(mainLoop), std::move(store), std::move(platform), application, whileWorking));
    model->observeAssertion();
    model->observePower();
    model->observeExits();
    return model;
}

TavoAppModel::TavoAppModel(std::shared_ptr<MainLoop> mainLoop, std::shared_ptr<const TavoStoring> store,
                           Platform platform, ApplicationControlling& application,
                           const std::optional<WorkRequirement>& whileWorking)
    : mainLoop(std::move(mainLoop)), store(std::move(store)),
      record(std::make_shared<StateRecord>(this->store, platform.goesOnWithoutState
                                                            ? StateRecord::Failures::areRemembered
                                                            : StateRecord::Failures::stopTheCaller)),
      configuration(this->store), platform(std::move(platform)), application(application),
      work(whileWorking, this->store->paths()), power(this->platform.powerEnvironment->currentStatus()) {
    if (this->platform.endOrphanedAssertion) {
        this->platform.endOrphanedAssertion();
    }
    beginHistory();
    const auto support = this->platform.closedLidSupport();
    helperState = support.state();
    canResetSilently = helperState == PrivilegedHelperInstallState::ready && support.matchesThisBuild();
    coordinator = makeCoordinator();
    lastErrorText = configuration.fileError();
    loadSnapshotAtStart();
}

TavoAppModel::~TavoAppModel() = default;

void TavoAppModel::loadSnapshotAtStart() {
    std::optional<RuntimeSnapshot> snapshotInFile;
    try {
        snapshotInFile = store->loadRuntimeSnapshot();
        // A lock that the last run held when it was killed is not held by this one.
        snapshot = snapshotInFile->isWakeAssertionActive ? RuntimeSnapshot::idle() : *snapshotInFile;
    } catch (const std::exception&) {
        // The file only says what the last run did.
        snapshot = RuntimeSnapshot::idle();
    }
    if (snapshotInFile != snapshot) {
        record->note(snapshot);
    }
}

void TavoAppModel::perform(const std::function<void()>& operation) {
    if (hasQuit) {
        return;
    }
    {
        const StepCount step(stepsUnderWay);
        operation();
    }
    if (stepsUnderWay > 0) {
        return;
    }
    followSwitch();
    recordHistory();
    const auto changed = changes.take() | configuration.takeChanges();
    if (changed != 0 && changeObserver) {
        changeObserver(changed);
    }
}

/// Evaluations have to be on time only while Tavo is switched on, whether or not a window is shown.
void TavoAppModel::followSwitch() {
    const bool isWanted = config().isEnabled && !hasQuit;
    if (platform.processActivity && isWanted != (activity != nullptr)) {
        activity = isWanted ? platform.processActivity->begin("evaluates when to keep awake") : nullptr;
    }
}

void TavoAppModel::observeAssertion() {
    // A child that reports without end must not fill the loop's queue: what it said last is looked up anyway.
    const auto isPosted = std::make_shared<std::atomic<bool>>(false);
    platform.assertionStatus->onChange(
        [isPosted, post = onMainThread(mainLoop, weak_from_this(), [isPosted](TavoAppModel& model) {
                       isPosted->store(false);
                       model.assertionChanged();
                   })] {
            if (!isPosted->exchange(true)) {
                post();
            }
        });
}

void TavoAppModel::observePower() {
    if (!platform.powerChanges) {
        return;
    }
    try {
        powerWatch = platform.powerChanges->watch(
            onMainThread(mainLoop, weak_from_this(), [](TavoAppModel& model) { model.powerMayHaveChanged(); }));
    } catch (const std::exception&) {
        // A change is then noticed by the next evaluation, at most a minute later.
    }
}

void TavoAppModel::observeExits() {
    exits.emplace(mainLoop, platform.processExits, [weakModel = weak_from_this()] {
        if (const auto model = weakModel.lock()) {
            model->evaluateNow();
        }
    });
}

void TavoAppModel::assertionChanged() {
    perform([this] {
        changes.mark(ModelProperty::assertionNotice);
        // The child has exited by itself. A minute without a lock would be long enough for the machine to fall asleep.
        if ((snapshot.isWakeAssertionActive || hasLostAssertion()) && platform.assertionStatus->reports().empty()) {
            auto lost = snapshot;
            lost.isWakeAssertionActive = coordinator->wakeStatus().isActive;
            publish(ModelProperty::runtimeSnapshot, snapshot, lost);
            retryInterval = lostAssertionInterval;
            scheduleNextEvaluation(lostAssertionInterval);
        }
    });
}

void TavoAppModel::powerMayHaveChanged() {
    perform([this] {
        const auto status = platform.powerEnvironment->currentStatus();
        if (status == power) {
            return;
        }
        if (config().isEnabled) {
            evaluate();
        } else {
            publish(ModelProperty::powerStatus, power, status);
        }
    });
}

void TavoAppModel::start() {
    if (!config().isEnabled) {
        scheduleNextEvaluation(AppConfig::fixedPollIntervalSeconds);
        return;
    }
    onMainThread(mainLoop, weak_from_this(), [](TavoAppModel& model) { model.evaluateNow(); })();
}

/// Called before this run writes the state file, which says when the run before it was last active.
void TavoAppModel::beginHistory() const {
    if (!platform.history) {
        return;
    }
    std::optional<TimePoint> lastSeen;
    try {
        lastSeen = store->loadRuntimeSnapshot().lastEvaluationDate;
    } catch (const std::exception&) {
        // A damaged state file says nothing about it.
    }
    platform.history->begin(mainLoop->now(), lastSeen);
}

void TavoAppModel::recordHistory() const {
    if (!platform.history || hasQuit || snapshot.lastDecisionReason == RuntimeDecisionReason::idle) {
        return;
    }
    auto held = snapshot.isWakeAssertionActive ? platform.assertionStatus->summary() : std::string();
    if (coordinator->wakeStatus().usesClosedLidOverride) {
        held += held.empty() ? "closed lid" : ", closed lid";
    }
    platform.history->record(
        {.reason = snapshot.lastDecisionReason,
         .isAwake = snapshot.isWakeAssertionActive,
         .isStopped = config().isEnabled && snapshot.lastDecisionReason == RuntimeDecisionReason::disabled,
         .processes = historyProcesses(snapshot.matchedProcesses),
         .held = std::move(held)},
        mainLoop->now());
}

void TavoAppModel::openSettings() {
    application.orderOutKeyWindow();
    if (!settingsWindow) {
        settingsWindow = application.makeSettingsWindow(*this);
    }
    if (!settingsWindow) {
        return;
    }
    settingsWindow->showWindow();
    onMainThread(mainLoop, weak_from_this(), [](TavoAppModel& model) { model.settingsWindow->bringToFront(); })();
}

bool TavoAppModel::releaseEverything() {
    perform([this] { stopAndRelease(); });
    return replaced.empty() && !coordinator->wakeStatus().isActive;
}

void TavoAppModel::quitBecause(const std::string& why) {
    perform([&] {
        // Set first: terminating the application may notify its observers at once, one of which calls quit() again.
        hasQuit = true;
        if (platform.interruption) {
            platform.interruption->interrupt();
        }
        saveBeforeQuit();
        // If this fails, nothing retries it; the process takes its locks with it when it exits.
        stopAndRelease();
        work.end();
        if (platform.history) {
            platform.history->end(mainLoop->now(), why);
        }
        application.terminate();
    });
}

} // namespace tavo
