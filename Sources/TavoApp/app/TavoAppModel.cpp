#include "app/TavoAppModel.h"

#include "helper/HelperBackedPrivilegedSleepController.h"
#include "helper/PrivilegedHelperInstaller.h"

#include <utility>

namespace tavo {

namespace {

constexpr double idleInterval = AppConfig::fixedPollIntervalSeconds;

/// In seconds. Long enough that a child that cannot stay alive does not keep the processor busy.
constexpr double lostAssertionInterval = 1.0;

std::shared_ptr<RuntimeCoordinator> makeCoordinator(const Platform& platform, std::shared_ptr<const TavoStoring> store,
                                                    PrivilegedHelperInstallState helperState) {
    std::shared_ptr<PrivilegedSleepControlling> sleepController;
    if (helperState == PrivilegedHelperInstallState::ready) {
        sleepController = std::make_shared<HelperBackedPrivilegedSleepController>(platform.helperClient, true);
    }
    return std::make_shared<RuntimeCoordinator>(
        platform.powerEnvironment, std::make_shared<ProcessWatcher>(platform.processes),
        std::make_shared<WakeController>(platform.assertionRunner, std::move(sleepController),
                                         platform.wakePlanBuilder),
        std::move(store));
}

} // namespace

std::shared_ptr<TavoAppModel> TavoAppModel::make(std::shared_ptr<MainLoop> mainLoop,
                                                 std::shared_ptr<const TavoStoring> store, Platform platform) {
    std::shared_ptr<TavoAppModel> model(new TavoAppModel(std::move(mainLoop), std::move(store), std::move(platform)));
    model->observeAssertion();
    return model;
}

TavoAppModel::TavoAppModel(std::shared_ptr<MainLoop> mainLoop, std::shared_ptr<const TavoStoring> store,
                           Platform platform)
    : mainLoop(std::move(mainLoop)), store(std::move(store)), platform(std::move(platform)),
      power(this->platform.powerEnvironment->currentStatus()),
      helperState(resolveHelperInstallState(*this->platform.helperSetup, *this->platform.helperClient)),
      coordinator(makeCoordinator(this->platform, this->store, helperState)) {
    try {
        appliedConfig = this->store->loadConfig();
    } catch (const std::exception& error) {
        configFileErrorText = error.what();
        lastErrorText = configFileErrorText;
    }
    try {
        snapshot = this->store->loadRuntimeSnapshot();
    } catch (const std::exception&) {
        // The file only tells what the last run did; the next evaluation replaces it.
        snapshot = RuntimeSnapshot::idle();
    }
}

void TavoAppModel::observeAssertion() {
    platform.assertionBoard->onChange([loop = std::weak_ptr(mainLoop), weakModel = weak_from_this()] {
        const auto strongLoop = loop.lock();
        if (!strongLoop) {
            return;
        }
        strongLoop->post([weakModel] {
            if (const auto model = weakModel.lock()) {
                model->assertionChanged();
            }
        });
    });
}

void TavoAppModel::assertionChanged() {
    pendingChanges |= static_cast<ModelChanges>(ModelProperty::assertionNotice);
    // The child has ended unasked. A minute without a lock would be long enough for the machine to fall asleep.
    if (snapshot.isWakeAssertionActive && platform.assertionBoard->reports().empty()) {
        scheduleNextEvaluation(lostAssertionInterval);
    }
    notify();
}

void TavoAppModel::start() {
    if (!appliedConfig.isEnabled) {
        scheduleNextEvaluation(idleInterval);
        return;
    }
    mainLoop->post([weakModel = weak_from_this()] {
        if (const auto model = weakModel.lock()) {
            model->evaluateNow();
        }
    });
}

void TavoAppModel::evaluateNow() {
    reloadPersistedConfig();
    publish(ModelProperty::powerStatus, power, platform.powerEnvironment->currentStatus());
    try {
        const auto evaluation = coordinator->evaluate(appliedConfig, mainLoop->now());
        failure = nullptr;
        publish(ModelProperty::runtimeSnapshot, snapshot, evaluation.snapshot);
        publish(ModelProperty::powerStatus, power, platform.powerEnvironment->currentStatus());
        scheduleNextEvaluation(evaluation.suggestedNextEvaluationInterval);
        publish(ModelProperty::lastError, lastErrorText, std::nullopt);
    } catch (const std::exception& error) {
        failure = std::current_exception();
        applyFailure(error);
    }
    notify();
}

void TavoAppModel::lookAround() {
    refreshHelperInstallState(false);
    reassertOverride();
    evaluateNow();
}

void TavoAppModel::refreshHelperInstallState(bool restartIfEnabled) {
    const auto state = resolveHelperInstallState(*platform.helperSetup, *platform.helperClient);
    if (state != helperState) {
        publish(ModelProperty::helperInstallState, helperState, state);
        rebuildCoordinator(restartIfEnabled);
    }
}

void TavoAppModel::rebuildCoordinator(bool restartIfEnabled) {
    timer.reset();
    try {
        coordinator->stop(mainLoop->now());
    } catch (const std::exception&) {
        // What a helper that has gone was asked for, it has given back itself.
    }
    coordinator = makeCoordinator(platform, store, helperState);
    if (restartIfEnabled && appliedConfig.isEnabled) {
        evaluateNow();
    }
}

/// A helper that was replaced has given back what it was asked for, though it looks the same as before.
void TavoAppModel::reassertOverride() {
    try {
        coordinator->reassertOverride();
    } catch (const std::exception&) {
        rebuildCoordinator(false); // the evaluation that follows asks again, and says what is wrong
    }
}

void TavoAppModel::applyFailure(const std::exception& error) {
    timer.reset();
    publish(ModelProperty::lastError, lastErrorText, error.what());
    auto failed = snapshot;
    failed.isEnabled = appliedConfig.isEnabled;
    failed.isWakeAssertionActive = coordinator->wakeStatus().isActive;
    failed.lastEvaluationDate = mainLoop->now();
    failed.lastDecisionReason = RuntimeDecisionReason::error;
    failed.lastError = error.what();
    publish(ModelProperty::runtimeSnapshot, snapshot, failed);
    persistBestEffort(snapshot);
}

void TavoAppModel::quit() {
    timer.reset();
    try {
        const auto stopped = coordinator->stop(mainLoop->now());
        publish(ModelProperty::runtimeSnapshot, snapshot, stopped.snapshot);
    } catch (const std::exception& error) {
        // There is nobody left to try again; what is still held goes with this process.
        publish(ModelProperty::lastError, lastErrorText, error.what());
    }
    notify();
}

void TavoAppModel::reloadPersistedConfig() {
    try {
        publish(ModelProperty::config, appliedConfig, store->loadConfig());
        publish(ModelProperty::configFileError, configFileErrorText, std::nullopt);
    } catch (const std::exception& error) {
        publish(ModelProperty::configFileError, configFileErrorText, error.what());
        publish(ModelProperty::lastError, lastErrorText, error.what());
    }
}

void TavoAppModel::scheduleNextEvaluation(double seconds) {
    timer = mainLoop->startTimer(seconds, [weakModel = weak_from_this()] {
        if (const auto model = weakModel.lock()) {
            model->evaluateNow();
        }
    });
}

void TavoAppModel::persistBestEffort(const RuntimeSnapshot& toPersist) const {
    try {
        store->saveRuntimeSnapshot(toPersist);
    } catch (const std::exception&) {
        // The failure that is being recorded matters more, and it is shown already.
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

void TavoAppModel::notify() {
    const auto changes = std::exchange(pendingChanges, 0U);
    if (changes != 0 && changeObserver) {
        changeObserver(changes);
    }
}

} // namespace tavo
