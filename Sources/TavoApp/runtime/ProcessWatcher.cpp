#include "runtime/ProcessWatcher.h"

#include "runtime/TreeTotals.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tavo {

ProcessWatcher::ProcessWatcher(std::shared_ptr<ProcessSnapshotProviding> snapshotProvider, double activityThreshold,
                               std::unordered_set<std::int32_t> ignoredPIDs, std::shared_ptr<WorkMonitor> workMonitor)
    : snapshotProvider(std::move(snapshotProvider)), activityThreshold(activityThreshold),
      ignoredPIDs(std::move(ignoredPIDs)), workMonitor(std::move(workMonitor)) {}

ProcessWatchResult ProcessWatcher::evaluate(const TriggerRule& rule, TimePoint at) {
    const auto snapshot = snapshotProvider->snapshot(at);
    const auto roots = matchesOf(rule, snapshot.processes);
    if (rule.requiresActivity) {
        completePreviousMembers();
    }
    auto baselines = rule.requiresActivity ? measureMembers(roots, snapshot.processes, noLimit).value()
                                           : measureWhole(roots, snapshot.processes);

    const bool isMonitored = workMonitor && rule.requiresActivity;
    std::vector<ProcessTreeMeasurement> trees;
    ProcessWatchResult result;
    for (const auto* root : roots) {
        result.matchedProcesses.push_back({.pid = root->pid,
                                           .executableName = std::string(root->executableName),
                                           .commandLine = std::string(root->commandLine),
                                           .startTime = root->startTime});
        const auto& current = baselines.at(root->pid);
        const auto found = previousBaselines.find(root->pid);
        const auto* previous = found == previousBaselines.end() ? nullptr : &found->second;
        // A child that ended takes its CPU time with it, so a tree's total may shrink; growth is never negative. The
        // first sighting counts with its whole total.
        const double delta = std::max(0.0, current.totalCPUTime - (previous == nullptr ? 0.0 : previous->totalCPUTime));
        result.totalCPUTimeDelta += delta;
        if (isMonitored) {
            trees.push_back({.rootPID = root->pid,
                             .executableName = std::string(root->executableName),
                             .totalCPUTime = current.totalCPUTime,
                             .processIDs = current.processIDs});
        } else if (countsAsActive(rule, previous, current, delta)) {
            result.activeProcessIDs.push_back(root->pid);
        }
    }
    previousBaselines = std::move(baselines);
    previousLinks.clear();
    if (!rule.requiresActivity && !roots.empty()) {
        std::transform(snapshot.processes.begin(), snapshot.processes.end(), std::back_inserter(previousLinks),
                       [](const ProcessSample& process) { return Link(process.pid, process.parentPID); });
    }
    if (isMonitored) {
        askWorkMonitor(trees, at, result);
    }
    return result;
}

std::vector<const ProcessSample*> ProcessWatcher::matchesOf(const TriggerRule& rule,
                                                            const std::vector<ProcessSample>& processes) const {
    const auto ignored = ignoredProcessTreePIDs(processes);
    TriggerMatcher matcher(rule);
    std::vector<const ProcessSample*> matches;
    for (const auto& process : processes) {
        if (!ignored.contains(process.pid) && matcher.matches(process)) {
            matches.push_back(&process);
        }
    }
    return matches;
}

/// The CPU time alone, which is all that a rule without a requirement asks for. The trees are walked one by one, in the
/// order in which they add up with a requirement; for many that lie in each other, which takes the square of the time,
/// one pass does for all of them together.
ProcessWatcher::Baselines ProcessWatcher::measureWhole(const std::vector<const ProcessSample*>& roots,
                                                       const std::vector<ProcessSample>& processes) {
    constexpr std::size_t timesTheTable = 4;
    if (auto walked = measureMembers(roots, processes, timesTheTable * processes.size())) {
        return std::move(*walked);
    }
    const auto times = cpuTimeOfEachTree(processes);
    if (!times) {
        return measureMembers(roots, processes, noLimit).value();
    }
    Baselines baselines;
    for (const auto* root : roots) {
        const auto place = static_cast<std::size_t>(root - processes.data());
        baselines[root->pid] = {.totalCPUTime = (*times)[place], .processIDs = {}};
    }
    return baselines;
}

/// Gives up when the trees have more than `limit` members, each counted as often as it is in a tree.
std::optional<ProcessWatcher::Baselines> ProcessWatcher::measureMembers(const std::vector<const ProcessSample*>& roots,
                                                                        const std::vector<ProcessSample>& processes,
                                                                        std::size_t limit) {
    if (roots.empty()) {
        return Baselines();
    }
    const ProcessTreeIndex index(processes);
    Baselines baselines;
    std::size_t visited = 0;
    for (const auto* root : roots) {
        const auto members = index.collectProcessTree(root->pid);
        visited += members.size();
        if (visited > limit) {
            return std::nullopt;
        }
        ProcessTreeActivityBaseline measured;
        for (const auto* member : members) {
            measured.totalCPUTime += member->cpuTimeSeconds;
            measured.processIDs.insert(member->pid);
        }
        baselines.insert_or_assign(root->pid, std::move(measured));
    }
    return baselines;
}

/// The rule has begun to require activity: the members of the trees as they were are needed after all.
void ProcessWatcher::completePreviousMembers() {
    if (previousLinks.empty()) {
        return;
    }
    std::vector<ProcessSample> processes;
    std::transform(previousLinks.begin(), previousLinks.end(), std::back_inserter(processes),
                   [](const Link& link) { return ProcessSample{.pid = link.first, .parentPID = link.second}; });
    const ProcessTreeIndex index(processes);
    for (auto& [root, baseline] : previousBaselines) {
        for (const auto* member : index.collectProcessTree(root)) {
            baseline.processIDs.insert(member->pid);
        }
    }
    previousLinks.clear();
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

std::unordered_set<std::int32_t>
ProcessWatcher::ignoredProcessTreePIDs(const std::vector<ProcessSample>& processes) const {
    return ignoredPIDs.empty() ? std::unordered_set<std::int32_t>{}
                               : ProcessTreeIndex(processes).descendantsAndSelf(ignoredPIDs);
}

} // namespace tavo
