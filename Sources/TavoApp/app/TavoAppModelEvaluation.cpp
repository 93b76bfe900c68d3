#include "app/TavoAppModel.h"
#include "base/ErrorText.h"
#include "helper/HelperBackedPrivilegedSleepController.h"

namespace tavo {

void TavoAppModel::evaluateNow() {
    perform([this] { evaluate(); });
}

void TavoAppModel::refresh() {
    perform([this] {
        reloadPersistedConfigIfSafe();
        if (!config().isEnabled) {
            evaluate(); // lets go before a helper that may be slow to answer is asked for anything
        }
        refreshHelperInstallState(false);
        evaluate();
    });
}

void TavoAppModel::evaluate() {
    reloadPersistedConfigIfSafe();
    releaseReplaced();
    lookForHelper();
    publish(ModelProperty::powerStatus, power, platform.powerEnvironment->currentStatus());
    const auto before = power;
    try {
        const auto evaluation = coordinator->evaluateAsGiven(work.required(config()), mainLoop->now());
        failure = nullptr;
        work.evaluated(config());
        publish(ModelProperty::runtimeSnapshot, snapshot, evaluation.snapshot);
        exits->follow(snapshot.matchedProcesses);
        publish(ModelProperty::powerStatus, power, platform.powerEnvironment->currentStatus());
        // What changed while the plan was being carried out was not decided upon.
        scheduleNextEvaluation(power == before ? evaluation.suggestedNextEvaluationInterval : 0.0);
        publish(ModelProperty::lastError, lastErrorText, configuration.pendingSaveError());
    } catch (const std::exception& error) {
        failure = std::current_exception();
        applyFailure(error);
    }
}

void TavoAppModel::reloadPersistedConfigIfSafe() {
    try {
        if (configuration.reload()) {
            clearError();
        }
    } catch (const std::exception& error) {
        fail(errorText(error));
    }
}

void TavoAppModel::applyFailure(const std::exception& error) {
    timer.reset();
    exits->stop();
    fail(errorText(error));
    auto failed = snapshot;
    failed.isEnabled = config().isEnabled;
    failed.isWakeAssertionActive = coordinator->wakeStatus().isActive;
    failed.lastEvaluationDate = mainLoop->now();
    failed.lastDecisionReason = RuntimeDecisionReason::error;
    failed.lastError = errorText(error);
    publish(ModelProperty::runtimeSnapshot, snapshot, failed);
    persistBestEffort(snapshot);
    watchHelperIfNeeded();
}

void TavoAppModel::persistBestEffort(const RuntimeSnapshot& toPersist) const {
    try {
        store->saveRuntimeSnapshot(toPersist);
    } catch (const std::exception&) {
        // What is being recorded matters more than the record, and it is shown already.
    }
}

void TavoAppModel::scheduleNextEvaluation(double seconds) {
    timer = mainLoop->startTimer(seconds, [weakModel = weak_from_this()] {
        if (const auto model = weakModel.lock()) {
            model->evaluateNow();
        }
    });
}

void TavoAppModel::lookForHelper() {
    helperTimer.reset();
    if (config().isEnabled && needsClosedLidPermission() &&
        helperState == PrivilegedHelperInstallState::installedUnreachable) {
        refreshHelperInstallState(false);
    }
}

void TavoAppModel::refreshHelperInstallState(bool restartIfEnabled) {
    const auto before = helperState;
    publishHelperState(platform.closedLidSupport().state());
    if (helperState != before) {
        rebuildCoordinator(restartIfEnabled);
    } else {
        reassertOverride(restartIfEnabled);
    }
}

/// A helper that was replaced has given back what it was asked for, though it looks the same as before.
void TavoAppModel::reassertOverride(bool restartIfEnabled) {
    try {
        coordinator->reassertOverride();
    } catch (const std::exception&) {
        rebuildCoordinator(restartIfEnabled); // the evaluation that follows asks again, and says what is wrong
    }
}

void TavoAppModel::rebuildCoordinator(bool restartIfEnabled) {
    timer.reset();
    exits->stop();
    try {
        coordinator->stop(mainLoop->now());
    } catch (const std::exception&) {
        // Shown by the evaluation that follows, if it still matters then.
        if (coordinator->wakeStatus().usesClosedLidOverride) {
            replaced.push_back(coordinator);
        }
    }
    coordinator = makeCoordinator();
    if (!restartIfEnabled) {
        return;
    }
    if (config().isEnabled) {
        evaluate();
    } else {
        scheduleNextEvaluation(AppConfig::fixedPollIntervalSeconds);
    }
}

std::shared_ptr<RuntimeCoordinator> TavoAppModel::makeCoordinator() const {
    std::shared_ptr<PrivilegedSleepControlling> sleepController;
    if (helperState == PrivilegedHelperInstallState::ready) {
        sleepController = std::make_shared<HelperBackedPrivilegedSleepController>(platform.helperClient, true);
    }
    return std::make_shared<RuntimeCoordinator>(
        platform.powerEnvironment,
        std::make_shared<ProcessWatcher>(platform.processes, ProcessWatcher::defaultActivityThreshold,
                                         std::unordered_set<std::int32_t>(), work.workMonitor()),
        std::make_shared<WakeController>(platform.assertionRunner, std::move(sleepController),
                                         platform.wakePlanBuilder),
        store);
}

/// What a replaced coordinator could not give back is given back as soon as that is possible.
void TavoAppModel::releaseReplaced() {
    if (helperState == PrivilegedHelperInstallState::notInstalled) {
        replaced.clear(); // a helper that is removed has undone everything
    }
    std::erase_if(replaced, [](const auto& old) {
        try {
            old->release();
            return true;
        } catch (const std::exception&) {
            return false; // tried again at the next evaluation
        }
    });
}

/// No evaluation is armed after a failure. The helper alone is looked at again: it may only be late, as at login, or be
/// starting again, and nobody would tell.
void TavoAppModel::watchHelperIfNeeded() {
    const bool isAwaited =
        needsClosedLidPermission() && helperState == PrivilegedHelperInstallState::installedUnreachable;
    if (!isAwaited && !hasStuckOverride()) {
        return;
    }
    helperTimer = mainLoop->startTimer(AppConfig::fixedPollIntervalSeconds, [weakModel = weak_from_this()] {
        if (const auto model = weakModel.lock()) {
            model->perform([&] { model->lookAtHelperAgain(); });
        }
    });
}

bool TavoAppModel::hasStuckOverride() const {
    return coordinator->isOverrideStuck() || !replaced.empty();
}

/// An override that cannot be ended keeps a closed laptop awake: nothing else is done before it has ended.
void TavoAppModel::lookAtHelperAgain() {
    if (hasStuckOverride()) {
        refreshHelperInstallState(false);
        releaseReplaced();
        releaseStuck();
        if (hasStuckOverride()) {
            watchHelperIfNeeded();
            return;
        }
    }
    evaluate();
}

void TavoAppModel::releaseStuck() {
    try {
        if (coordinator->isOverrideStuck()) {
            coordinator->release();
        }
    } catch (const std::exception& error) {
        fail(errorText(error));
    }
}

/// Stops the evaluations, and releases what is held. Returns false when the coordinator fails to, and lastError() says why.
bool TavoAppModel::stopAndRelease() {
    timer.reset();
    exits->stop();
    helperTimer.reset();
    releaseReplaced();
    try {
        publish(ModelProperty::runtimeSnapshot, snapshot, coordinator->stop(mainLoop->now()).snapshot);
        return true;
    } catch (const std::exception& error) {
        fail(errorText(error));
        return false;
    }
}

} // namespace tavo
