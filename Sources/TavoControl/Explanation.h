#pragma once

#include "TavoControl/Console.h"
#include "TavoControl/RunOverrides.h"
#include "TavoControl/StatusReport.h"
#include "base/JsonCoding.h"
#include "helper/PrivilegedHelperInstaller.h"
#include "runtime/DecisionStep.h"
#include "runtime/WorkActivity.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// A matched process with everything below it, as the process table has it now.
struct MatchedTreeFacts {
    std::int32_t pid = 0;
    std::size_t size = 0;

    /// In percent of one core, since the facts were last collected; absent the first time.
    std::optional<double> cpuPercent;

    bool operator==(const MatchedTreeFacts&) const = default;
};

/// Everything that "tavoctl explain" knows.
struct ExplanationFacts {
    /// The status of a running Tavo; without one, the snapshot is the decision that would be taken now.
    StatusFacts status;

    /// The options of the running Tavo, which replace values of the file's configuration. They are already applied to
    /// the configuration in `status`.
    RunOverrides overrides;

    /// Absent where no closed lid is to be covered.
    std::optional<PrivilegedHelperInstallState> helper;

    /// The matched processes that are still there.
    std::vector<MatchedTreeFacts> trees;

    /// Whether they work, where the running Tavo was asked to stay awake only then.
    std::optional<WorkActivity> activity = {};
};

/// The part of a step in the decision.
enum class StepVerdict {
    passed,     ///< allowed keeping awake
    decided,    ///< decided the outcome
    notReached, ///< an earlier step had decided already
};

template <>
struct RawValues<StepVerdict> {
    static constexpr RawValueTable<StepVerdict, 3> table{{
        {StepVerdict::passed, "passed"},
        {StepVerdict::decided, "decided"},
        {StepVerdict::notReached, "notReached"},
    }};
};

struct ExplainedStep {
    DecisionStep step = DecisionStep::masterSwitch;
    StepVerdict verdict = StepVerdict::passed;

    /// In words: "battery 80%; any source is allowed".
    std::string text;

    /// The values that the step used.
    Json values;

    bool operator==(const ExplainedStep&) const = default;
};

/// Why the computer is kept awake, or is not: the steps of the decision, in order.
class Explanation {
public:
    explicit Explanation(ExplanationFacts facts);

    /// The state in a title and a detail.
    RuntimeStatusCopy headline() const;

    const std::vector<ExplainedStep>& steps() const { return explained; }

    /// One sentence: how to change the outcome.
    std::string change() const;

    /// Contains nothing that changes with the clock alone.
    Json json() const;

    /// @param width  lines are wrapped to it; nothing for no limit.
    std::vector<std::string> lines(const Console& console, std::optional<std::size_t> width) const;

    /// The same without the headline.
    std::vector<std::string> stepLines(const Console& console, std::optional<std::size_t> width) const;

    const ExplanationFacts& given() const { return facts; }

private:
    const AppConfig& config() const { return facts.status.config; }
    const RuntimeSnapshot& snapshot() const { return facts.status.snapshot; }
    bool isRunning() const { return facts.status.runningProcessID.has_value(); }

    ExplainedStep explain(DecisionStep step) const;
    std::string triggerText() const;
    std::string matchText(const MatchedProcessSnapshot& process) const;
    std::string workText(std::int32_t pid) const;
    std::string lidText() const;
    std::string assertionText() const;
    Json triggerValues() const;
    Json valuesOf(DecisionStep step) const;
    std::string textOf(DecisionStep step) const;
    bool isOverridden(DecisionStep step) const;
    std::string changeOf(DecisionStep step) const;
    std::string changeOfTrigger() const;
    std::string changeOfAwake() const;

    ExplanationFacts facts;
    std::vector<ExplainedStep> explained;
};

} // namespace tavo
