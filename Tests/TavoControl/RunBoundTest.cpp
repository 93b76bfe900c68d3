#include "TavoControl/RunBound.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>

namespace tavo {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

TimePoint utc(const std::string& text) {
    return *parseISO8601(text);
}

class RunBoundTest : public ::testing::Test {
protected:
    RunBoundTest() { use("Europe/Berlin"); }
    ~RunBoundTest() override {
        before ? setenv("TZ", before->c_str(), 1) : unsetenv("TZ");
        tzset();
    }
    RunBoundTest(const RunBoundTest&) = delete;
    RunBoundTest& operator=(const RunBoundTest&) = delete;

    static void use(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }

    static std::string refusalOf(const RawOptions& raw) {
        try {
            boundOf(raw);
        } catch (const UsageError& error) {
            return error.what();
        }
        return "accepted";
    }

private:
    std::optional<std::string> before =
        std::getenv("TZ") == nullptr ? std::nullopt : std::optional<std::string>(std::getenv("TZ"));
};

TEST_F(RunBoundTest, ATimeOfTheDayHasHoursAndMinutes) {
    EXPECT_EQ(parseTimeOfDay("18:30"), (TimeOfDay{18, 30}));
    EXPECT_EQ(parseTimeOfDay("7:05"), (TimeOfDay{7, 5}));
    EXPECT_EQ(parseTimeOfDay("00:00"), (TimeOfDay{0, 0}));
    EXPECT_EQ(parseTimeOfDay("23:59"), (TimeOfDay{23, 59}));
    for (const auto* text : {"", ":", "24:00", "25:00", "12:60", "12:5", "12", "1230", "-1:30", "+1:30", " 1:30",
                             "12:30 ", "012:30", "12:030", "12:30:00", "6pm", "12:3x", "x:30", "12:-1"}) {
        EXPECT_EQ(parseTimeOfDay(text), std::nullopt) << text;
    }
    EXPECT_EQ((TimeOfDay{7, 5}).text(), "07:05");
}

TEST_F(RunBoundTest, TheNextSuchTimeIsTodayOrTomorrow) {
    EXPECT_EQ(nextLocal({18, 30}, utc("2026-11-22T12:00:00Z")), utc("2026-11-22T17:30:00Z"));
    EXPECT_EQ(nextLocal({18, 30}, utc("2026-11-22T17:29:59Z")), utc("2026-11-22T17:30:00Z"));
    EXPECT_EQ(nextLocal({18, 30}, utc("2026-11-22T17:30:00Z")), utc("2026-11-23T17:30:00Z")) << "now is not next";
    EXPECT_EQ(nextLocal({18, 30}, utc("2026-11-22T17:30:20Z")), utc("2026-11-23T17:30:00Z"));
    EXPECT_EQ(nextLocal({0, 0}, utc("2026-12-31T12:00:00Z")), utc("2026-12-31T23:00:00Z"));
}

/// On 29 March 2026 the clocks of Berlin go from 02:00 to 03:00, at 01:00 UTC.
TEST_F(RunBoundTest, TheChangeToSummerTimeIsAllowedFor) {
    const auto evening = utc("2026-03-28T21:00:00Z");
    EXPECT_EQ(nextLocal({1, 59}, evening), utc("2026-03-29T00:59:00Z"));
    EXPECT_EQ(nextLocal({3, 0}, evening), utc("2026-03-29T01:00:00Z"));
    EXPECT_EQ(nextLocal({7, 0}, evening), utc("2026-03-29T05:00:00Z"));
    EXPECT_EQ(nextLocal({2, 30}, evening), utc("2026-03-29T01:00:00Z")) << "skipped: when the clocks go past it";
    EXPECT_EQ(nextLocal({2, 0}, evening), utc("2026-03-29T01:00:00Z"));
    EXPECT_EQ(nextLocal({2, 30}, utc("2026-03-29T01:00:00Z")), utc("2026-03-30T00:30:00Z"));
    EXPECT_EQ(nextLocal({22, 0}, evening), utc("2026-03-29T20:00:00Z")) << "23 hours later";
}

/// On 25 October 2026 they go from 03:00 back to 02:00, at 01:00 UTC.
TEST_F(RunBoundTest, TheChangeFromSummerTimeIsAllowedFor) {
    const auto evening = utc("2026-10-24T20:00:00Z");
    EXPECT_EQ(nextLocal({7, 0}, evening), utc("2026-10-25T06:00:00Z"));
    EXPECT_EQ(nextLocal({2, 30}, evening), utc("2026-10-25T00:30:00Z")) << "the first of the two";
    EXPECT_EQ(nextLocal({2, 30}, utc("2026-10-25T00:30:00Z")), utc("2026-10-25T01:30:00Z")) << "the second one";
    EXPECT_EQ(nextLocal({2, 30}, utc("2026-10-25T01:30:00Z")), utc("2026-10-26T01:30:00Z"));
    EXPECT_EQ(nextLocal({22, 0}, evening), utc("2026-10-25T21:00:00Z")) << "25 hours later";
}

TEST_F(RunBoundTest, PlacesWithHalfHoursAndWithoutChangesHaveTheirTime) {
    use("IST-05:30");
    EXPECT_EQ(nextLocal({18, 30}, utc("2026-11-22T12:00:00Z")), utc("2026-11-22T13:00:00Z"));
    use("UTC0");
    EXPECT_EQ(nextLocal({18, 30}, utc("2026-11-22T12:00:00Z")), utc("2026-11-22T18:30:00Z"));
}

TEST_F(RunBoundTest, NothingAskedForIsNoBound) {
    const auto bound = boundOf({});
    EXPECT_EQ(bound, RunBound());
    EXPECT_EQ(bound.deadline(utc("2026-11-22T12:00:00Z")), std::nullopt);
    EXPECT_EQ(bound.text(utc("2026-11-22T12:00:00Z")), "");
}

TEST_F(RunBoundTest, ABoundSaysWhenItEndsAndWhyItHas) {
    const auto noon = utc("2026-11-22T11:00:00Z");
    const auto length = boundOf({.length = "1h30m"});
    EXPECT_EQ(length.deadline(noon), utc("2026-11-22T12:30:00Z"));
    EXPECT_EQ(length.text(noon), "until 13:30:00");
    EXPECT_EQ(length.timeEndText(), "the 1h30m are over");
    EXPECT_EQ(boundOf({.length = "48h"}).text(noon), "until 2026-11-24 12:00:00");
    const auto until = boundOf({.until = "9:05"});
    EXPECT_EQ(until.deadline(noon), utc("2026-11-23T08:05:00Z"));
    EXPECT_EQ(until.timeEndText(), "it is 09:05");
    const auto both = boundOf({.length = "45m", .processes = {"12", "34", "12"}});
    EXPECT_THAT(both.processes, ::testing::ElementsAre(12, 34));
    EXPECT_EQ(both.text(noon), "until 12:45:00 or until the last of 2 processes has ended");
    EXPECT_EQ(boundOf({.processes = {"12"}}).text(noon), "until process 12 has ended");
}

TEST_F(RunBoundTest, BoundsThatMakeNoSenseAreRefused) {
    for (const auto* text : {"0", "0s", "-5m", "45", "x", "9000h", "1m1h", " 5m", "5m "}) {
        EXPECT_THAT(refusalOf({.length = text}), HasSubstr("--for takes a duration such as 90s")) << text;
    }
    for (const auto* text : {"25:00", "24:00", "noon", "12", "12:60"}) {
        EXPECT_THAT(refusalOf({.until = text}), HasSubstr("--until takes a time of the day from 00:00 to 23:59"))
            << text;
    }
    for (const auto* text : {"0", "-1", "x", "", "1x", "99999999999", " 1", "1.5"}) {
        EXPECT_THAT(refusalOf({.processes = {text}}), HasSubstr("--pid takes the process id of a running process"))
            << text;
    }
    EXPECT_EQ(refusalOf({.length = "5m", .until = "12:00"}), "only one of --for and --until can be given");
    RawOptions many;
    for (int number = 1; number <= 65; ++number) {
        many.processes.push_back(std::to_string(number));
    }
    EXPECT_EQ(refusalOf(many), "--pid can name 64 processes at most");
}

TEST(RunningProcesses, AreNamedByNumberAndStart) {
    const auto processes = runningProcesses({getpid(), 1});
    ASSERT_EQ(processes.size(), 2U);
    EXPECT_EQ(processes.front().pid, getpid());
    EXPECT_TRUE(processes.front().startTime);
    EXPECT_THAT(runningProcesses({}), IsEmpty());
}

TEST(RunningProcesses, OneThatDoesNotRunIsNamed) {
    const auto refusalOf = [](pid_t number) -> std::string {
        try {
            runningProcesses({getpid(), number});
        } catch (const UsageError& error) {
            return error.what();
        }
        return "accepted";
    };
    constexpr auto highest = std::numeric_limits<pid_t>::max();
    EXPECT_EQ(refusalOf(highest), "no process with the process id " + std::to_string(highest) + " is running");
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    siginfo_t info{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(refusalOf(child), "no process with the process id " + std::to_string(child) + " is running")
        << "not reaped";
    waitpid(child, nullptr, 0);
}

} // namespace
} // namespace tavo
