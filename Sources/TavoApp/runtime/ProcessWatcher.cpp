#include "runtime/ProcessWatcher.h"

#include "runtime/TriggerMatcher.h"

#include <algorithm>
#include <utility>

namespace tavo {

ProcessWatcher::ProcessWatcher(std::shared_ptr<ProcessSnapshotProviding> snapshotProvider, double activityThreshold,
                               std::unordered_set<std::int32_t> ignoredPIDs)
    : snapshotProvider(std::move(snapshotProvider)), activityThreshold(activityThreshold),
      ignoredPIDs(std::move(ignoredPIDs)) {}

ProcessWatchResult ProcessWatcher::evaluate(const TriggerRule& rule, TimePoint at) {
    const auto snapshot = snapshotProvider->snapshot(at);
    const ProcessTreeIndex index(snapshot.processes);
    const auto ignored = ignoredProcessTreePIDs(index);
    const TriggerMatcher matcher(rule);

    ProcessWatchResult result;
    std::unordered_map<std::int32_t, ProcessTreeActivityBaseline> baselines;
    for (const auto& root : snapshot.processes) {
        if (ignored.contains(root.pid) || !matcher.matches(root)) {
            continue;
        }
        result.matchedProcesses.push_back(
            {.pid = root.pid, .executableName = root.executableName, .commandLine = root.commandLine});

        ProcessTreeActivityBaseline current;
        for (const auto* member : index.collectProcessTree(root.pid)) {
            current.totalCPUTime += member->cpuTimeSeconds;
            current.processIDs.insert(member->pid);
        }
        const auto found = previousBaselines.find(root.pid);
        const auto* previous = found == previousBaselines.end() ? nullptr : &found->second;
        // A child that ended takes its CPU time with it, so a tree's total may shrink; growth is never negative. The first
        // sighting counts with its whole total.
        const double delta = std::max(0.0, current.totalCPUTime - (previous == nullptr ? 0.0 : previous->totalCPUTime));
        result.totalCPUTimeDelta += delta;
        if (countsAsActive(rule, previous, current, delta)) {
            result.activeProcessIDs.push_back(root.pid);
        }
        baselines.insert_or_assign(root.pid, std::move(current));
    }
    previousBaselines = std::move(baselines);
    return result;
}

bool ProcessWatcher::countsAsActive(const TriggerRule& rule, const ProcessTreeActivityBaseline* previous,
                                    const ProcessTreeActivityBaseline& current, double delta) const {
    if (!rule.requiresActivity) {
        return true;
    }
    return previous != nullptr && (delta > activityThreshold || previous->processIDs != current.processIDs);
}

std::unordered_set<std::int32_t> ProcessWatcher::ignoredProcessTreePIDs(const ProcessTreeIndex& index) const {
    return ignoredPIDs.empty() ? std::unordered_set<std::int32_t>{} : index.descendantsAndSelf(ignoredPIDs);
}

} // namespace tavo
