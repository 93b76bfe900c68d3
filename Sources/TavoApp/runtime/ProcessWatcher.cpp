#include "runtime/ProcessWatcher.h"

#include <algorithm>
#include <utility>

namespace tavo {

ProcessWatcher::ProcessWatcher(std::shared_ptr<ProcessSnapshotProviding> snapshotProvider, double activityThreshold,
                               std::unordered_set<std::int32_t> ignoredPIDs, std::shared_ptr<WorkMonitor> workMonitor)
    : snapshotProvider(std::move(snapshotProvider)), activityThreshold(activityThreshold),
      ignoredPIDs(std::move(ignoredPIDs)), workMonitor(std::move(workMonitor)) {}

ProcessWatchResult ProcessWatcher::evaluate(const TriggerRule& rule, TimePoint at) {
    const auto snapshot = snapshotProvider->snapshot(at);
    const ProcessTreeIndex index(snapshot.processes);
    const auto ignored = ignoredProcessTreePIDs(index);
    TriggerMatcher matcher(rule);

    const bool isMonitored = workMonitor && rule.requiresActivity;
    std::vector<ProcessTreeMeasurement> trees;
    ProcessWatchResult result;
    std::unordered_map<std::int32_t, ProcessTreeActivityBaseline> baselines;
    for (const auto& root : snapshot.processes) {
        if (ignored.contains(root.pid) || !matcher.matches(root)) {
            continue;
        }
        result.matchedProcesses.push_back({.pid = root.pid,
                                           .executableName = std::string(root.executableName),
                                           .commandLine = std::string(root.commandLine),
                                           .startTime = root.startTime});

        ProcessTreeActivityBaseline current;
        for (const auto* member : index.collectProcessTree(root.pid)) {
            current.totalCPUTime += member->cpuTimeSeconds;
            current.processIDs.insert(member->pid);
        }
        const auto found = previousBaselines.find(root.pid);
        const auto* previous = found == previousBaselines.end() ? nullptr : &found->second;
        // A child that ended takes its CPU time with it, so a tree's total may shrink; growth is never negative. The
        // first sighting counts with its whole total.
        const double delta = std::max(0.0, current.totalCPUTime - (previous == nullptr ? 0.0 : previous->totalCPUTime));
        result.totalCPUTimeDelta += delta;
        if (isMonitored) {
            trees.push_back({.rootPID = root.pid,
                             .executableName = std::string(root.executableName),
                             .totalCPUTime = current.totalCPUTime,
                             .processIDs = current.processIDs});
        } else if (countsAsActive(rule, previous, current, delta)) {
            result.activeProcessIDs.push_back(root.pid);
        }
        baselines.insert_or_assign(root.pid, std::move(current));
    }
    previousBaselines = std::move(baselines);
    if (isMonitored) {
        askWorkMonitor(trees, at, result);
    }
    return result;
}

bool ProcessWatcher::countsAsActive(const TriggerRule& rule, const ProcessTreeActivityBaseline* previous,
                                    const ProcessTreeActivityBaseline& current, double delta) const {
    if (!rule.requiresActivity) {
        return true;
    }
    return previous != nullptr && (delta > activityThreshold || previous->processIDs != current.processIDs);
}

void ProcessWatcher::askWorkMonitor(const std::vector<ProcessTreeMeasurement>& trees, TimePoint at,
                                    ProcessWatchResult& result) const {
    workMonitor->look(trees, at);
    const auto& activity = *workMonitor->activity();
    for (const auto& tree : activity.trees) {
        if (tree.isWorking()) {
            result.activeProcessIDs.push_back(tree.pid);
        }
    }
    result.isWithinGrace = activity.isWithinGrace(at);
    result.secondsUntilNews = workMonitor->secondsUntilNews();
}

std::unordered_set<std::int32_t> ProcessWatcher::ignoredProcessTreePIDs(const ProcessTreeIndex& index) const {
    return ignoredPIDs.empty() ? std::unordered_set<std::int32_t>{} : index.descendantsAndSelf(ignoredPIDs);
}

} // namespace tavo
