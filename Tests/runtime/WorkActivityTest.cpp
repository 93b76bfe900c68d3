#include "runtime/WorkActivity.h"

#include "base/JsonCoding.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

const TimePoint nine = *parseISO8601("2026-01-31T09:00:00Z");

TreeActivity tree(WorkVerdict verdict) {
    return {.pid = 7,
            .executableName = "claude",
            .cpuPercent = 0.34,
            .haveMembersChanged = verdict == WorkVerdict::membersChanged,
            .verdict = verdict};
}

WorkActivity idleSinceNine() {
    return {.requirement = {}, .measuredAt = nine + minutes{3}, .trees = {tree(WorkVerdict::idle)}, .lastWorkAt = nine};
}

TEST(WorkActivity, OneTreeThatWorksIsEnough) {
    auto activity = idleSinceNine();
    EXPECT_FALSE(activity.isWorking());
    for (const auto verdict : {WorkVerdict::firstSighting, WorkVerdict::busy, WorkVerdict::membersChanged}) {
        activity.trees = {tree(WorkVerdict::idle), tree(verdict)};
        EXPECT_TRUE(activity.isWorking());
        EXPECT_FALSE(activity.isWithinGrace(nine + minutes{1}));
        EXPECT_EQ(activity.graceText(nine + minutes{1}), "");
    }
}

TEST(WorkActivity, TheGraceLastsFromTheLastWorkOn) {
    const auto activity = idleSinceNine();
    EXPECT_EQ(activity.graceEndsAt(), nine + minutes{10});
    EXPECT_TRUE(activity.isWithinGrace(nine + minutes{10} - milliseconds{1}));
    EXPECT_FALSE(activity.isWithinGrace(nine + minutes{10}));
}

TEST(WorkActivity, WithoutWorkOrWithoutMatchesThereIsNoGrace) {
    auto never = idleSinceNine();
    never.lastWorkAt.reset();
    EXPECT_EQ(never.graceEndsAt(), std::nullopt);
    EXPECT_FALSE(never.isWithinGrace(nine));
    auto none = idleSinceNine();
    none.requirement.grace = seconds{0};
    EXPECT_FALSE(none.isWithinGrace(nine));
    auto unmatched = idleSinceNine();
    unmatched.trees.clear();
    EXPECT_FALSE(unmatched.isWithinGrace(nine));
}

TEST(WorkActivity, SaysForHowLongItIsIdleAndWhenSleepingIsAllowed) {
    auto activity = idleSinceNine();
    EXPECT_EQ(activity.graceText(nine + minutes{3}), "idle for 3 minutes, sleeping allowed in 7");
    EXPECT_EQ(activity.graceText(nine + minutes{3} + milliseconds{20}), "idle for 3 minutes, sleeping allowed in 7");
    EXPECT_EQ(activity.graceText(nine + seconds{30}), "idle for 30 seconds, sleeping allowed in 10 minutes");
    EXPECT_EQ(activity.graceText(nine + minutes{9} + seconds{30}),
              "idle for 9 minutes, sleeping allowed in 30 seconds");
    EXPECT_EQ(activity.graceText(nine + minutes{10} - milliseconds{1}),
              "idle for 9 minutes, sleeping allowed in 1 second");
    EXPECT_EQ(activity.graceText(nine - minutes{5}), "idle for 0 seconds, sleeping allowed in 15 minutes");
    activity.requirement.grace = hours{4};
    EXPECT_EQ(activity.graceText(nine + hours{1}), "idle for 60 minutes, sleeping allowed in 3 hours");
    EXPECT_EQ(activity.graceText(nine + hours{2}), "idle for 2 hours, sleeping allowed in 2");
    activity.requirement.grace = seconds{40};
    EXPECT_EQ(activity.graceText(nine + seconds{30}), "idle for 30 seconds, sleeping allowed in 10");
}

TEST(WorkActivity, SaysWhichTreeWorksAndWhy) {
    auto activity = idleSinceNine();
    EXPECT_EQ(activity.text(nine + minutes{3}), "idle for 3 minutes, sleeping allowed in 7");
    EXPECT_EQ(activity.text(nine + minutes{30}), "");
    EXPECT_EQ(activity.trees[0].text(), "idle, 0.3% of a core");
    activity.trees = {tree(WorkVerdict::idle), tree(WorkVerdict::firstSighting)};
    activity.trees[1].pid = 8;
    EXPECT_EQ(activity.text(nine), "claude (process id 8) works until it has been measured");
    activity.trees[1].verdict = WorkVerdict::membersChanged;
    EXPECT_EQ(activity.text(nine), "claude (process id 8) works, its processes changed");
    activity.trees[1].verdict = WorkVerdict::busy;
    activity.trees[1].cpuPercent = 25.0;
    EXPECT_EQ(activity.text(nine), "claude (process id 8) works, more than 1% of a core");
    EXPECT_EQ(activity.trees[1].text(), "works, 25.0% of a core");
}

TEST(WorkActivity, GoesThroughJson) {
    auto activity = idleSinceNine();
    activity.trees.push_back({.pid = 8, .executableName = "node", .cpuPercent = {}});
    EXPECT_EQ(WorkActivity::fromJson(Json(activity)), activity);
    activity = {.requirement = {}, .measuredAt = nine, .trees = {}, .lastWorkAt = {}};
    EXPECT_EQ(WorkActivity::fromJson(Json(activity)), activity);
}

TEST(WorkActivity, IsWrittenUnderTheseKeysAndWithoutCommandLines) {
    EXPECT_EQ(Json(idleSinceNine()), parseJson(R"({
        "busyPercent": 1.0, "graceSeconds": 600, "isWorking": false,
        "lookedAt": "2026-01-31T09:03:00Z", "lastWorkAt": "2026-01-31T09:00:00Z", "graceEndsAt": "2026-01-31T09:10:00Z",
        "trees": [{"pid": 7, "executableName": "claude", "cpuPercent": 0.34, "membersChanged": false, "isWorking": false,
                   "verdict": "idle"}]})"));
}

TEST(WorkActivity, DamagedJsonIsRefused) {
    const Json whole = idleSinceNine();
    for (const auto* key : {"busyPercent", "graceSeconds", "lookedAt", "trees"}) {
        auto damaged = whole;
        damaged.erase(key);
        EXPECT_THROW(WorkActivity::fromJson(damaged), DecodingError) << key;
        damaged[key] = "x";
        EXPECT_THROW(WorkActivity::fromJson(damaged), DecodingError) << key;
    }
    for (const auto* key : {"pid", "executableName", "membersChanged", "verdict"}) {
        auto damaged = whole;
        damaged["trees"][0].erase(key);
        EXPECT_THROW(WorkActivity::fromJson(damaged), DecodingError) << key;
    }
    auto damaged = whole;
    damaged["trees"][0]["cpuPercent"] = "0";
    EXPECT_THROW(WorkActivity::fromJson(damaged), DecodingError);
}

} // namespace
} // namespace tavo
