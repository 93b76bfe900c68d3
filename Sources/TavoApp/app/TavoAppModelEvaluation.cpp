#include "app/TavoAppModel.h"
#include "base/ErrorText.h"
#include "base/WakeControlError.h"
#include "helper/HelperBackedPrivilegedSleepController.h"

#include <algorithm>
#include <system_error>

namespace tavo {

namespace {

/// Asks no helper: one that nobody uses would be started for the answer.
bool hasGone(const HelperServiceSetup& setup) {
    const auto files = setup.installedFiles();
    return std::any_of(files.begin(), files.end(), [](const auto& file) {
        std::error_code ignored; // one that cannot be examined has not gone
        return std::filesystem::status(file, ignored).type() == std::filesystem::file_type::not_found;
    });
}

} // namespace

void TavoAppModel::evaluateNow() {
    perform([this] { evaluate(); });
}

void TavoAppModel::refresh() {
    perform([this] {
        reloadPersistedConfigIfSafe();
        if (!config().isEnabled) {
            evaluate(); // releases first, since the helper may be slow to answer
        }
        refreshHelperInstallState(false);
        evaluate();
    });
}

void TavoAppModel::evaluate() {
    reloadPersistedConfigIfSafe();
    releaseReplaced();
    refreshAwaitedHelper();
    publish(ModelProperty::powerStatus, power, platform.powerEnvironment->currentStatus());
    const auto before = power;
    try {
        const auto evaluation = coordinator->evaluateAsGiven(work.required(config()), mainLoop->now());
        failure = nullptr;
        retryInterval.reset();
        work.evaluated(config());
        publish(ModelProperty::runtimeSnapshot, snapshot, evaluation.snapshot);
        exits->follow(snapshot.matchedProcesses);
        publish(ModelProperty::powerStatus, power, platform.powerEnvironment->currentStatus());
        // A power change during the evaluation has not been considered yet, so evaluate again at once.
        scheduleNextEvaluation(power == before ? evaluation.suggestedNextEvaluationInterval : 0.0);
        clearError();
        reportUnwritten();
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
    record->note(snapshot);
    watchHelperIfNeeded();
    tryAgainIfLost(error);
}

/// The system says nothing when it can hold off sleep again, and neither does a package whose upgrade is under way.
void TavoAppModel::tryAgainIfLost(const std::exception& error) {
    const auto* const refusal = dynamic_cast<const WakeControlError*>(&error);
    const bool mayPass = refusal != nullptr ? refusal->kind() != WakeControlError::Kind::closedLidRequiresPrivilege
                                            : dynamic_cast<const std::system_error*>(&error) != nullptr;
    if (!retryInterval || !mayPass || coordinator->wakeStatus().isActive) {
        return;
    }
    const auto interval = *retryInterval;
    retryInterval = std::min(2 * interval, double{AppConfig::fixedPollIntervalSeconds});
    scheduleNextEvaluation(interval);
}

/// The configuration counts more than the state, which the next evaluation writes again.
void TavoAppModel::reportUnwritten() {
    if (const auto problem = configuration.pendingSaveError()) {
        fail(*problem);
    } else if (record->problem()) {
        fail(*record->problem());
    }
}

void TavoAppModel::scheduleNextEvaluation(double seconds) {
    timer = mainLoop->startTimer(seconds, [weakModel = weak_from_this()] {
        if (const auto model = weakModel.lock()) {
            model->evaluateNow();
        }
    });
}

void TavoAppModel::refreshAwaitedHelper() {
    helperTimer.reset();
    if (!config().isEnabled || config().watchMode == WatchMode::open) {
        return;
    }
    // One that was removed meanwhile, as with its package, has ended the override without a word.
    if (helperState == PrivilegedHelperInstallState::installedUnreachable ||
        (helperState == PrivilegedHelperInstallState::ready && hasGone(*platform.helperSetup))) {
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

/// A helper that was replaced no longer holds the override, though its state is the same as before.
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
        record);
}

/// Retries to end the overrides that replaced coordinators could not end.
void TavoAppModel::releaseReplaced() {
    if (helperState == PrivilegedHelperInstallState::notInstalled) {
        replaced.clear(); // removing the helper ended its overrides
    }
    std::erase_if(replaced, [](const auto& old) {
        try {
            old->release();
            return true;
        } catch (const std::exception&) {
            return false; // retried at the next evaluation
        }
    });
}

/// No evaluation is scheduled after a failure. Only the helper is checked again: it may just be late, as at login, or
/// be restarting, and the system does not announce when it is ready.
void TavoAppModel::watchHelperIfNeeded() {
    const bool isAwaited =
        needsClosedLidPermission() && helperState == PrivilegedHelperInstallState::installedUnreachable;
    if (!isAwaited && !hasStuckOverride()) {
        return;
    }
    helperTimer = mainLoop->startTimer(AppConfig::fixedPollIntervalSeconds, [weakModel = weak_from_this()] {
        if (const auto model = weakModel.lock()) {
            model->perform([&] { model->recheckHelper(); });
        }
    });
}

bool TavoAppModel::hasStuckOverride() const {
    return coordinator->isOverrideStuck() || !replaced.empty();
}

/// An override that cannot be ended keeps a closed laptop awake, so it has to end before anything else is done.
void TavoAppModel::recheckHelper() {
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

/// Stops the evaluations and releases everything. Returns false if the coordinator fails, and lastError() says why.
bool TavoAppModel::stopAndRelease() {
    timer.reset();
    exits->stop();
    helperTimer.reset();
    releaseReplaced();
    try {
        publish(ModelProperty::runtimeSnapshot, snapshot, coordinator->stop(mainLoop->now()).snapshot);
        reportUnwritten();
        return true;
    } catch (const std::exception& error) {
        fail(errorText(error));
        return false;
    }
}

} // namespace tavo
