#include "runtime/WorkActivity.h"

#include "base/JsonCoding.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace tavo {

namespace {

/// A length of time in seconds, from a minute on in minutes, and from two hours on in hours.
struct SpokenLength {
    std::int64_t count = 0;
    std::string_view unit;

    SpokenLength(TimePoint::duration length, bool roundsUp) {
        constexpr std::int64_t minute = 60;
        constexpr std::int64_t hour = 3600;
        const auto whole = roundsUp ? std::chrono::ceil<std::chrono::seconds>(length).count()
                                    : std::chrono::floor<std::chrono::seconds>(length).count();
        const auto seconds = std::max<std::int64_t>(whole, 0);
        const auto in = [&](std::int64_t size) { return (seconds + (roundsUp ? size - 1 : 0)) / size; };
        count = seconds < minute ? seconds : seconds < 2 * hour ? in(minute) : in(hour);
        unit = seconds < minute ? "second" : seconds < 2 * hour ? "minute" : "hour";
    }

    std::string text() const { return fmt::format("{} {}{}", count, unit, count == 1 ? "" : "s"); }
};

} // namespace

std::string TreeActivity::text() const {
    switch (verdict) {
    case WorkVerdict::firstSighting:
        return "works until it has been measured";
    case WorkVerdict::membersChanged:
        return "works, its processes changed";
    case WorkVerdict::busy:
    case WorkVerdict::idle:
        break;
    }
    return fmt::format("{}, {:.1f}% of a core", isWorking() ? "works" : "idle", cpuPercent.value_or(0));
}

TreeActivity TreeActivity::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    TreeActivity tree{.pid = reader.required<std::int32_t>("pid"),
                      .executableName = reader.required<std::string>("executableName"),
                      .cpuPercent = {},
                      .haveMembersChanged = reader.required<bool>("membersChanged"),
                      .verdict = reader.required<WorkVerdict>("verdict")};
    if (reader.contains("cpuPercent")) {
        const auto& percent = value.at("cpuPercent");
        if (!percent.is_number()) {
            throwTypeMismatch(percent, reader.pathOf("cpuPercent"), "a number");
        }
        tree.cpuPercent = percent.get<double>();
    }
    return tree;
}

WorkActivity WorkActivity::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    return {.requirement = WorkRequirement::fromJson(value, path),
            .measuredAt = reader.required<TimePoint>("lookedAt"),
            .trees = reader.required<std::vector<TreeActivity>>("trees"),
            .lastWorkAt = reader.optional<TimePoint>("lastWorkAt")};
}

bool WorkActivity::isWorking() const {
    return std::any_of(trees.begin(), trees.end(), [](const auto& tree) { return tree.isWorking(); });
}

std::optional<TimePoint> WorkActivity::graceEndsAt() const {
    return lastWorkAt ? std::optional(*lastWorkAt + requirement.grace) : std::nullopt;
}

bool WorkActivity::isWithinGrace(TimePoint at) const {
    const auto end = graceEndsAt();
    return !trees.empty() && !isWorking() && end && at < *end;
}

std::string WorkActivity::graceText(TimePoint at) const {
    if (!isWithinGrace(at)) {
        return {};
    }
    const SpokenLength idle(at - *lastWorkAt, false);
    const SpokenLength rest(*graceEndsAt() - at, true);
    return fmt::format("idle for {}, sleeping allowed in {}", idle.text(),
                       idle.unit == rest.unit ? std::to_string(rest.count) : rest.text());
}

std::string WorkActivity::text(TimePoint at) const {
    for (const auto verdict : {WorkVerdict::busy, WorkVerdict::membersChanged, WorkVerdict::firstSighting}) {
        const auto tree =
            std::find_if(trees.begin(), trees.end(), [&](const auto& each) { return each.verdict == verdict; });
        if (tree == trees.end()) {
            continue;
        }
        const auto why = verdict == WorkVerdict::busy
                             ? fmt::format("works, more than {}% of a core", busyPercentText(requirement.busyPercent))
                             : tree->text();
        return fmt::format("{} (process id {}) {}", tree->executableName, tree->pid, why);
    }
    return graceText(at);
}

void to_json(Json& json, const TreeActivity& tree) {
    json = Json{{"pid", tree.pid},
                {"executableName", tree.executableName},
                {"membersChanged", tree.haveMembersChanged},
                {"isWorking", tree.isWorking()},
                {"verdict", rawValue(tree.verdict)}};
    if (tree.cpuPercent) {
        json["cpuPercent"] = std::round(*tree.cpuPercent * 100) / 100;
    }
}

void to_json(Json& json, const WorkActivity& activity) {
    json = activity.requirement;
    json["lookedAt"] = formatISO8601(activity.measuredAt);
    json["trees"] = activity.trees;
    json["isWorking"] = activity.isWorking();
    if (activity.lastWorkAt) {
        json["lastWorkAt"] = formatISO8601(*activity.lastWorkAt);
        json["graceEndsAt"] = formatISO8601(*activity.graceEndsAt());
    }
}

} // namespace tavo
