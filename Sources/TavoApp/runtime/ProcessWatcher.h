#pragma once

#include "base/FoldedQuery.h"
#include "base/RuntimeRecords.h"
#include "config/TriggerRule.h"
#include "runtime/ProcessTreeIndex.h"
#include "runtime/WorkMonitor.h"
#include "system/ProcessSnapshot.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace tavo {

/// Whether a rule matches a process: its query is somewhere in the command line, or is the executable's name, without
/// regard to case and diacritics. The query is used unchanged; an empty one matches nothing.
class TriggerMatcher {
public:
    explicit TriggerMatcher(const TriggerRule& rule) : strategy(rule.matchStrategy), query(rule.query) {}

    bool matches(const ProcessSample& sample) {
        return strategy == TriggerMatchStrategy::executableName ? query.equals(sample.executableName)
                                                                : query.isContainedIn(sample.commandLine);
    }

private:
    TriggerMatchStrategy strategy;
    FoldedQuery query;
};

/// The findings of one rule at one moment.
struct ProcessWatchResult {
    /// One per matching process, in the order of the snapshot. Each has its command line.
    std::vector<MatchedProcessSnapshot> matchedProcesses;

    /// The matched processes that count as active, in the same order.
    std::vector<std::int32_t> activeProcessIDs;

    /// In seconds: by how much the CPU time of the matched processes' trees grew since the last evaluation, summed. A
    /// process seen for the first time counts with all of the time it has ever used.
    double totalCPUTimeDelta = 0;

    /// Whether the lock is to be kept though no matched process is active; only ever true with a WorkMonitor.
    bool isWithinGrace = false;

    /// In seconds: when the next evaluation can have a different outcome, where that is sooner than its usual time.
    std::optional<double> secondsUntilNews;

    bool isMatchFound() const { return !matchedProcesses.empty(); }
    bool hasActivity() const { return !activeProcessIDs.empty(); }

    bool operator==(const ProcessWatchResult&) const = default;
};

/// Finds the processes that a rule watches, and decides which of them are busy. Used by one thread at a time.
class ProcessWatcher {
public:
    /// In seconds of CPU time.
    static constexpr double defaultActivityThreshold = 0.1;

    /// @param activityThreshold  in seconds of CPU time; a tree is active that has used more than this since the last
    ///        time.
    /// @param ignoredPIDs  processes whose whole trees are never matched.
    /// @param workMonitor  decides what is active, instead of the threshold, for rules that require activity; it may be
    ///        null.
    explicit ProcessWatcher(std::shared_ptr<ProcessSnapshotProviding> snapshotProvider,
                            double activityThreshold = defaultActivityThreshold,
                            std::unordered_set<std::int32_t> ignoredPIDs = {},
                            std::shared_ptr<WorkMonitor> workMonitor = nullptr);

    /// Takes a snapshot and measures. The mode of the rule is ignored: a watcher always matches.
    /// @throws whatever the snapshot throws; nothing is remembered or forgotten then.
    ProcessWatchResult evaluate(const TriggerRule& rule, TimePoint at);

private:
    struct ProcessTreeActivityBaseline {
        double totalCPUTime = 0; ///< seconds, over the whole tree

        /// May be empty after an evaluation that did not ask for them: previousLinks has them then.
        std::unordered_set<std::int32_t> processIDs;

        bool operator==(const ProcessTreeActivityBaseline&) const = default;
    };
    static constexpr auto noLimit = std::numeric_limits<std::size_t>::max();
    using Baselines = std::unordered_map<std::int32_t, ProcessTreeActivityBaseline>;

    /// A process and its parent.
    using Link = std::pair<std::int32_t, std::int32_t>;

    std::vector<const ProcessSample*> matchesOf(const TriggerRule& rule,
                                                const std::vector<ProcessSample>& processes) const;
    static Baselines measureWhole(const std::vector<const ProcessSample*>& roots,
                                  const std::vector<ProcessSample>& processes);
    static std::optional<Baselines> measureMembers(const std::vector<const ProcessSample*>& roots,
                                                   const std::vector<ProcessSample>& processes, std::size_t limit);
    void completePreviousMembers();

    bool countsAsActive(const TriggerRule& rule, const ProcessTreeActivityBaseline* previous,
                        const ProcessTreeActivityBaseline& current, double delta) const;
    void askWorkMonitor(const std::vector<ProcessTreeMeasurement>& trees, TimePoint at,
                        ProcessWatchResult& result) const;
    std::unordered_set<std::int32_t> ignoredProcessTreePIDs(const std::vector<ProcessSample>& processes) const;

    std::shared_ptr<ProcessSnapshotProviding> snapshotProvider;
    double activityThreshold;
    std::unordered_set<std::int32_t> ignoredPIDs;
    std::shared_ptr<WorkMonitor> workMonitor;
    Baselines previousBaselines;
    std::vector<Link> previousLinks;
};

} // namespace tavo
