#include "runtime/WorkMonitor.h"

#include <algorithm>
#include <utility>

namespace tavo {

namespace {

double secondsOf(TimePoint::duration length) {
    return std::chrono::duration<double>(length).count();
}

} // namespace

TreeActivity compareTrees(const ProcessTreeMeasurement& before, const ProcessTreeMeasurement& now, double seconds,
                          double busyPercent) {
    constexpr double percent = 100;
    // A process that ended has taken its CPU time with it, so a tree's total may shrink.
    const double used = percent * std::max(0.0, now.totalCPUTime - before.totalCPUTime) / seconds;
    const bool haveMembersChanged = now.processIDs != before.processIDs;
    return {.pid = now.rootPID,
            .executableName = now.executableName,
            .cpuPercent = used,
            .haveMembersChanged = haveMembersChanged,
            .verdict = used > busyPercent   ? WorkVerdict::busy
                       : haveMembersChanged ? WorkVerdict::membersChanged
                                            : WorkVerdict::idle};
}

void WorkMonitor::look(const std::vector<ProcessTreeMeasurement>& trees, TimePoint at) {
    const bool isMeasuredAfresh = hasClockJumped(at);
    auto lastWorkAt = current ? current->lastWorkAt : std::nullopt;
    if (isMeasuredAfresh && lastWorkAt) {
        *lastWorkAt += at - current->measuredAt;
    }
    std::unordered_map<std::int32_t, Watched> next;
    std::vector<TreeActivity> activities;
    for (const auto& tree : trees) {
        const auto found = watched.find(tree.rootPID);
        auto now = found == watched.end() ? firstSightingOf(tree, at) : found->second;
        bool isNews = found == watched.end();
        if (isMeasuredAfresh) {
            now.baseline = tree;
            now.measuredAt = at;
            now.isFresh = true;
        } else if (!isNews && at - now.measuredAt >= minInterval) {
            auto verdict = compareTrees(now.baseline, tree, secondsOf(at - now.measuredAt), required.busyPercent);
            now = {.baseline = tree, .measuredAt = at, .isFresh = false, .activity = std::move(verdict)};
            isNews = true;
        }
        now.activity.executableName = tree.executableName;
        if (isNews && now.activity.isWorking()) {
            lastWorkAt = at;
        }
        activities.push_back(now.activity);
        next.insert_or_assign(tree.rootPID, std::move(now));
    }
    watched = std::move(next);
    if (watched.empty()) {
        lastWorkAt.reset();
    }
    current = {.requirement = required, .measuredAt = at, .trees = std::move(activities), .lastWorkAt = lastWorkAt};
}

bool WorkMonitor::hasClockJumped(TimePoint at) const {
    return current && (at < current->measuredAt || at - current->measuredAt > maxInterval);
}

WorkMonitor::Watched WorkMonitor::firstSightingOf(const ProcessTreeMeasurement& tree, TimePoint at) {
    return {.baseline = tree,
            .measuredAt = at,
            .isFresh = true,
            .activity = {.pid = tree.rootPID, .executableName = tree.executableName, .cpuPercent = {}}};
}

std::optional<double> WorkMonitor::secondsUntilNews() const {
    if (!current) {
        return std::nullopt;
    }
    std::optional<double> soonest;
    const auto consider = [&](TimePoint moment) {
        const double seconds = secondsOf(moment - current->measuredAt);
        soonest = std::min(soonest.value_or(seconds), seconds);
    };
    for (const auto& [pid, tree] : watched) {
        if (tree.isFresh) {
            consider(tree.measuredAt + minInterval);
        }
    }
    if (current->isWithinGrace(current->measuredAt)) {
        consider(*current->graceEndsAt());
    }
    return soonest;
}

void WorkMonitor::startOver() {
    watched.clear();
    current.reset();
}

} // namespace tavo
