#pragma once

#include "base/Json.h"
#include "base/RawValues.h"
#include "base/Time.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// Why the engine is, or is not, keeping the machine awake.
enum class RuntimeDecisionReason {
    disabled,             ///< the master switch is off, or the engine was stopped
    idle,                 ///< nothing evaluated yet
    active,               ///< keeping awake
    noMatchingProcess,    ///< process trigger, no process matches
    insufficientActivity, ///< process trigger with activity required, matching processes idle
    powerSourceMismatch,  ///< the policy does not allow the current power source
    batteryCutoffReached, ///< battery at or below the cutoff
    maxDurationReached,   ///< session limit reached, held off until no process matches
    error,                ///< the last evaluation failed
};

template <>
struct RawValues<RuntimeDecisionReason> {
    static constexpr RawValueTable<RuntimeDecisionReason, 9> table{{
        {RuntimeDecisionReason::disabled, "disabled"},
        {RuntimeDecisionReason::idle, "idle"},
        {RuntimeDecisionReason::active, "active"},
        {RuntimeDecisionReason::noMatchingProcess, "noMatchingProcess"},
        {RuntimeDecisionReason::insufficientActivity, "insufficientActivity"},
        {RuntimeDecisionReason::powerSourceMismatch, "powerSourceMismatch"},
        {RuntimeDecisionReason::batteryCutoffReached, "batteryCutoffReached"},
        {RuntimeDecisionReason::maxDurationReached, "maxDurationReached"},
        {RuntimeDecisionReason::error, "error"},
    }};
};

/// A process that matched the trigger.
struct MatchedProcessSnapshot {
    std::int32_t pid = 0;
    std::string executableName;

    /// Absent when the command line could not be read.
    std::optional<std::string> commandLine;

    /// Of the process in the sample, to distinguish it from a later process with its number; never written.
    std::optional<std::uint64_t> startTime = {};

    bool operator==(const MatchedProcessSnapshot&) const = default;

    /// @throws DecodingError naming the key.
    static MatchedProcessSnapshot fromJson(const Json& value, const std::string& path = {});
};

/// The outcome of one evaluation, as "state.json" keeps it.
struct RuntimeSnapshot {
    /// The configuration's master switch at evaluation time.
    bool isEnabled = false;
    bool isWakeAssertionActive = false;

    /// When the snapshot was made. Written with whole seconds.
    std::optional<TimePoint> lastEvaluationDate;
    RuntimeDecisionReason lastDecisionReason = RuntimeDecisionReason::idle;

    /// In the order in which the process watcher returned them.
    std::vector<MatchedProcessSnapshot> matchedProcesses;

    /// The message that the user got about the last failure.
    std::optional<std::string> lastError;

    bool operator==(const RuntimeSnapshot&) const = default;

    /// The state before the first evaluation; also the store's answer when there is no state file.
    static RuntimeSnapshot idle() { return {}; }

    /// @throws DecodingError naming the key.
    static RuntimeSnapshot fromJson(const Json& value, const std::string& path = {});
};

/// The outcome of one evaluation, and when the next one is due.
struct RuntimeEvaluation {
    RuntimeSnapshot snapshot;

    /// In seconds from this evaluation.
    double suggestedNextEvaluationInterval = 0;

    bool operator==(const RuntimeEvaluation&) const = default;
};

void to_json(Json& json, const MatchedProcessSnapshot& process);
void to_json(Json& json, const RuntimeSnapshot& snapshot);

} // namespace tavo
