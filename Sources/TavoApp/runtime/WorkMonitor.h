#pragma once

#include "runtime/ProcessTreeIndex.h"
#include "runtime/WorkActivity.h"

#include <optional>
#include <unordered_map>
#include <vector>

namespace tavo {

/// The verdict on one tree, measured twice with this much time in between. The first two have the same root.
/// @param seconds  more than none.
TreeActivity compareTrees(const ProcessTreeMeasurement& before, const ProcessTreeMeasurement& now, double seconds,
                          double busyPercent);

/// Distinguishes programs that work from programs that wait, by measuring their process trees again and again.
///
/// A tree works when it has used more than its share of a core since the measurement that it is compared with, or when
/// processes of it have started or ended. Measurements that are compared lie at least minInterval apart, since a
/// percentage over a moment says nothing; one before that leaves the last verdict as it was. A tree that is seen for
/// the first time counts as working.
///
/// The clock may be set while this runs, and the computer may sleep. Time that goes backwards, or that jumps further
/// than measurements ever lie apart, says nothing about work: it counts as no time at all, and measuring starts over
/// from there.
class WorkMonitor {
public:
    static constexpr std::chrono::seconds minInterval{30};
    static constexpr std::chrono::seconds maxInterval{300};

    explicit WorkMonitor(WorkRequirement requirement) : required(requirement) {}

    const WorkRequirement& requirement() const { return required; }

    /// Takes in the trees of every process that matches now. Trees that no longer match are forgotten; with none left,
    /// so is the last work.
    void look(const std::vector<ProcessTreeMeasurement>& trees, TimePoint at);

    /// As of the last measurement; nothing before the first.
    const std::optional<WorkActivity>& activity() const { return current; }

    /// The time after the last measurement at which the next one can have a new result: a first verdict, or the end of
    /// the grace. Nothing when the ordinary rhythm will do.
    std::optional<double> secondsUntilNews() const;

    /// Forgets everything, so that all that is seen next is seen for the first time.
    void startOver();

private:
    struct Watched {
        ProcessTreeMeasurement baseline;
        TimePoint measuredAt;

        /// There is no verdict yet that compares with this baseline's predecessor.
        bool isFresh = true;
        TreeActivity activity;
    };

    bool hasClockJumped(TimePoint at) const;
    static Watched firstSightingOf(const ProcessTreeMeasurement& tree, TimePoint at);

    WorkRequirement required;
    std::unordered_map<std::int32_t, Watched> watched;
    std::optional<WorkActivity> current;
};

} // namespace tavo
