#pragma once

#include "base/Json.h"
#include "base/RawValues.h"
#include "base/Time.h"
#include "runtime/WorkRequirement.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// Why a matched process tree counts as working, or that it does not.
enum class WorkVerdict {
    firstSighting,  ///< works: there is nothing yet to compare it with
    busy,           ///< works: it used more than its share of a core
    membersChanged, ///< works: processes of the tree started or ended, though it used no more than its share
    idle,
};

template <>
struct RawValues<WorkVerdict> {
    static constexpr RawValueTable<WorkVerdict, 4> table{{
        {WorkVerdict::firstSighting, "firstSighting"},
        {WorkVerdict::busy, "busy"},
        {WorkVerdict::membersChanged, "membersChanged"},
        {WorkVerdict::idle, "idle"},
    }};
};

/// A matched process with everything below it. Has no command line, which may hold secrets.
struct TreeActivity {
    /// The matched process.
    std::int32_t pid = 0;
    std::string executableName;

    /// In percent of one core, over the time between the two measurements that were compared last; absent before there
    /// are two.
    std::optional<double> cpuPercent;

    /// Whether processes of the tree started or ended between these two measurements. Also true where the tree is busy
    /// anyway.
    bool haveMembersChanged = false;
    WorkVerdict verdict = WorkVerdict::firstSighting;

    /// "works, 5.8% of a core", "works, its processes changed", "idle, 0.2% of a core", "works until it has been
    /// measured".
    std::string text() const;

    bool isWorking() const { return verdict != WorkVerdict::idle; }

    bool operator==(const TreeActivity&) const = default;

    /// @throws DecodingError naming the key.
    static TreeActivity fromJson(const Json& value, const std::string& path = {});
};

/// Whether the matched programs work or wait, as of one measurement.
struct WorkActivity {
    /// The requirement that decides what counts as work.
    WorkRequirement requirement;

    /// The evaluation that this is of. Evaluations that never come to the processes, as on the wrong power source,
    /// measure nothing, so this may be older than the last evaluation.
    TimePoint measuredAt;

    /// One per matched process, in the order of the process table; empty when none matches.
    std::vector<TreeActivity> trees;

    /// The last measurement at which a tree was working; absent when none was since a process matched.
    std::optional<TimePoint> lastWorkAt;

    bool operator==(const WorkActivity&) const = default;

    bool isWorking() const;

    /// Until when the lock is kept though nothing works; absent when no work was seen.
    std::optional<TimePoint> graceEndsAt() const;

    /// Whether nothing works, and the lock is kept all the same.
    bool isWithinGrace(TimePoint at) const;

    /// Within the grace "idle for 3 minutes, sleeping allowed in 7"; otherwise empty. Lower case, without a full stop.
    std::string graceText(TimePoint at) const;

    /// The same, or which tree works and why, without numbers that change at every measurement; empty when nothing
    /// works.
    std::string text(TimePoint at) const;

    /// @throws DecodingError naming the key.
    static WorkActivity fromJson(const Json& value, const std::string& path = {});
};

/// "cpuPercent" is rounded to two decimals.
void to_json(Json& json, const TreeActivity& tree);

/// Dates in ISO 8601 with whole seconds. "isWorking" and "graceEndsAt" are written for readers and not read.
void to_json(Json& json, const WorkActivity& activity);

} // namespace tavo
