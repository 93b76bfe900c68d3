#pragma once

#include "base/RawValues.h"
#include "base/RuntimeRecords.h"
#include "runtime/RuntimeCoordinator.h"

#include <optional>
#include <string>

namespace tavo {

/// The steps of an evaluation, in the order in which the coordinator takes them. The first that speaks against keeping
/// awake decides; where none does, the trigger has decided for it, and the rest is carried out.
enum class DecisionStep {
    masterSwitch,
    powerSource,
    batteryCutoff,
    trigger, ///< with the processes that match, their work where that counts, and the session limit
    closedLid,
    assertion,
};

template <>
struct RawValues<DecisionStep> {
    static constexpr RawValueTable<DecisionStep, 6> table{{
        {DecisionStep::masterSwitch, "masterSwitch"},
        {DecisionStep::powerSource, "powerSource"},
        {DecisionStep::batteryCutoff, "batteryCutoff"},
        {DecisionStep::trigger, "trigger"},
        {DecisionStep::closedLid, "closedLid"},
        {DecisionStep::assertion, "assertion"},
    }};
};

/// The step that an evaluation's outcome comes from; nothing before anything was evaluated.
std::optional<DecisionStep> decidingStep(const RuntimeSnapshot& snapshot);

/// The outcome of an evaluation now: the coordinator's own decision, with nothing held, asked for or written.
/// @param coversClosedLid  whether there is a helper that would keep awake with the lid closed.
/// @return the snapshot as the coordinator would make it; a failure is a snapshot with the reason `error`.
RuntimeSnapshot rehearsedDecision(const AppConfig& config, TimePoint at,
                                  std::shared_ptr<PowerEnvironmentProviding> powerEnvironment,
                                  std::shared_ptr<ProcessSnapshotProviding> processes, bool coversClosedLid);

} // namespace tavo
