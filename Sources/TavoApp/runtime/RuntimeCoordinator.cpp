#include "runtime/RuntimeCoordinator.h"

#include <algorithm>
#include <utility>

namespace tavo {

namespace {

constexpr double evaluationInterval = AppConfig::fixedPollIntervalSeconds;
constexpr double minInterval = 1.0;

bool policyAllows(PowerSourcePolicy policy, CurrentPowerSource source) {
    switch (policy) {
    case PowerSourcePolicy::any:
        return true;
    case PowerSourcePolicy::acOnly:
        return source == CurrentPowerSource::ac;
    case PowerSourcePolicy::batteryOnly:
        return source == CurrentPowerSource::battery;
    }
    return false;
}

// Neither the power source nor charging counts here: a battery this low needs a rest even when it is plugged in.
bool isCutoffReached(const AppConfig& config, const PowerStatus& status) {
    return config.batteryCutoffPercent && status.batteryPercent &&
           *status.batteryPercent <= *config.batteryCutoffPercent;
}

double secondsBetween(TimePoint start, TimePoint end) {
    return std::chrono::duration<double>(end - start).count();
}

} // namespace

RuntimeCoordinator::RuntimeCoordinator(std::shared_ptr<PowerEnvironmentProviding> powerEnvironment,
                                       std::shared_ptr<ProcessWatcher> processWatcher,
                                       std::shared_ptr<WakeController> wakeController,
                                       std::shared_ptr<const TavoStoring> store)
    : powerEnvironment(std::move(powerEnvironment)), processWatcher(std::move(processWatcher)),
      wakeController(std::move(wakeController)), store(std::move(store)) {}

RuntimeEvaluation RuntimeCoordinator::evaluate(const AppConfig& config, TimePoint at) {
    return evaluateAsGiven(config.validated(), at);
}

RuntimeEvaluation RuntimeCoordinator::evaluateAsGiven(const AppConfig& config, TimePoint at) {
    if (!config.isEnabled) {
        isSuppressedUntilNoMatch = false;
        return stop(RuntimeDecisionReason::disabled, at, false);
    }
    const auto status = powerEnvironment->currentStatus();
    if (!policyAllows(config.powerSourcePolicy, status.source)) {
        return stop(RuntimeDecisionReason::powerSourceMismatch, at, true);
    }
    if (isCutoffReached(config, status)) {
        return stop(RuntimeDecisionReason::batteryCutoffReached, at, true);
    }
    if (config.trigger.mode == TriggerMode::always) {
        return activate(config, status, at, {});
    }
    return evaluateProcesses(config, status, at);
}

RuntimeEvaluation RuntimeCoordinator::evaluateProcesses(const AppConfig& config, const PowerStatus& status,
                                                        TimePoint at) {
    auto result = processWatcher->evaluate(config.trigger, at);
    const auto news = result.secondsUntilNews;
    auto evaluation = decideOn(std::move(result), config, status, at);
    if (news) {
        evaluation.suggestedNextEvaluationInterval =
            std::min(evaluation.suggestedNextEvaluationInterval, std::max(*news, minInterval));
    }
    return evaluation;
}

RuntimeEvaluation RuntimeCoordinator::decideOn(ProcessWatchResult result, const AppConfig& config,
                                               const PowerStatus& status, TimePoint at) {
    if (!result.isMatchFound()) {
        isSuppressedUntilNoMatch = false;
        return stop(RuntimeDecisionReason::noMatchingProcess, at, true);
    }
    if (isSuppressedUntilNoMatch) {
        return stop(RuntimeDecisionReason::maxDurationReached, at, true, std::move(result.matchedProcesses));
    }
    if (config.trigger.requiresActivity && !result.hasActivity() && !result.isWithinGrace) {
        return stop(RuntimeDecisionReason::insufficientActivity, at, true, std::move(result.matchedProcesses));
    }
    if (isSessionLimitReached(config, at)) {
        isSuppressedUntilNoMatch = true;
        return stop(RuntimeDecisionReason::maxDurationReached, at, true, std::move(result.matchedProcesses));
    }
    return activate(config, status, at, std::move(result.matchedProcesses));
}

RuntimeEvaluation RuntimeCoordinator::activate(const AppConfig& config, const PowerStatus& status, TimePoint at,
                                               Matches matches) {
    wakeController->activate(config, status);
    if (!activeSessionStartedAt) {
        activeSessionStartedAt = at;
    }
    return finish({.isEnabled = true,
                   .isWakeAssertionActive = wakeController->status().isActive,
                   .lastEvaluationDate = at,
                   .lastDecisionReason = RuntimeDecisionReason::active,
                   .matchedProcesses = std::move(matches),
                   .lastError = {}},
                  intervalWhileActive(config, at));
}

RuntimeEvaluation RuntimeCoordinator::stop(TimePoint at) {
    isSuppressedUntilNoMatch = false;
    return stop(RuntimeDecisionReason::disabled, at, false);
}

RuntimeEvaluation RuntimeCoordinator::stop(RuntimeDecisionReason reason, TimePoint at, bool isEnabled,
                                           Matches matches) {
    wakeController->deactivate();
    activeSessionStartedAt.reset();
    return finish({.isEnabled = isEnabled,
                   .isWakeAssertionActive = false,
                   .lastEvaluationDate = at,
                   .lastDecisionReason = reason,
                   .matchedProcesses = std::move(matches),
                   .lastError = {}},
                  evaluationInterval);
}

RuntimeEvaluation RuntimeCoordinator::finish(RuntimeSnapshot snapshot, double interval) {
    persist(snapshot);
    return {.snapshot = std::move(snapshot), .suggestedNextEvaluationInterval = interval};
}

double RuntimeCoordinator::intervalWhileActive(const AppConfig& config, TimePoint at) const {
    const auto limit = duration(config.maxAwakeDuration);
    if (!limit || !activeSessionStartedAt) {
        return evaluationInterval;
    }
    // Near the end of a session the next evaluation lands on the limit itself.
    const double remaining = *limit - secondsBetween(*activeSessionStartedAt, at);
    return std::clamp(remaining, minInterval, evaluationInterval);
}

bool RuntimeCoordinator::isSessionLimitReached(const AppConfig& config, TimePoint at) const {
    const auto limit = duration(config.maxAwakeDuration);
    return limit && activeSessionStartedAt && secondsBetween(*activeSessionStartedAt, at) >= *limit;
}

void RuntimeCoordinator::persist(const RuntimeSnapshot& snapshot) const {
    if (store) {
        store->saveRuntimeSnapshot(snapshot);
    }
}

} // namespace tavo
