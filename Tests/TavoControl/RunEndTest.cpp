#include "TavoControl/RunEnd.h"

#include "Support/ManualMainLoop.h"
#include "Support/ScriptedProcessExits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <system_error>

namespace tavo {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RunEndTest : public ::testing::Test {
protected:
    void begin(const RunBound& bound, const std::vector<WatchedProcess>& processes = {}) {
        end = std::make_unique<RunEnd>(bound, processes, loop, exits,
                                       [this](const std::string& why) { reasons.push_back(why); });
    }

    /// With a clock of its own, which nobody sets.
    void beginByElapsed(const RunBound& bound) {
        end = std::make_unique<RunEnd>(
            bound, std::vector<WatchedProcess>(), loop, exits,
            [this](const std::string& why) { reasons.push_back(why); }, [this] { return elapsed; });
    }

    /// Minute by minute.
    void pass(minutes time) {
        for (; time > minutes{0}; time -= minutes{1}) {
            elapsed += minutes{1};
            loop->advance(minutes{1});
        }
    }

    static constexpr hours year{24 * 365};
    std::chrono::nanoseconds elapsed{};

    std::shared_ptr<ManualMainLoop> loop = std::make_shared<ManualMainLoop>(*parseISO8601("2026-01-31T09:00:00Z"));
    std::shared_ptr<ScriptedProcessExits> exits = std::make_shared<ScriptedProcessExits>();
    std::vector<std::string> reasons;
    std::unique_ptr<RunEnd> end;
};

TEST_F(RunEndTest, TimeIsOverToTheSecond) {
    begin({.length = seconds{2705}});
    loop->advance(seconds{2704});
    EXPECT_THAT(reasons, IsEmpty());
    loop->advance(seconds{1});
    EXPECT_THAT(reasons, ElementsAre("the 45m5s are over"));
    loop->advance(hours{2});
    end->check();
    EXPECT_EQ(reasons.size(), 1U) << "once";
    EXPECT_EQ(loop->armedTimers(), 0U);
}

/// Timers stand still during a suspend, and the first thing to run afterwards checks the clock.
TEST_F(RunEndTest, TimeThatTheComputerSleepsCounts) {
    begin({.length = hours{1}});
    loop->setBack(hours{-3});
    end->check();
    EXPECT_THAT(reasons, ElementsAre("the 1h are over"));
}

TEST_F(RunEndTest, AClockThatIsSetBackMeansLonger) {
    begin({.length = minutes{2}});
    loop->advance(seconds{90});
    loop->setBack(minutes{10});
    loop->advance(minutes{10});
    EXPECT_THAT(reasons, IsEmpty());
    loop->advance(minutes{1});
    EXPECT_EQ(reasons.size(), 1U);
}

TEST_F(RunEndTest, AClockThatIsSetByAYearMakesNoLengthLongerOrShorter) {
    for (const auto setBack : {year, -year}) {
        reasons.clear();
        beginByElapsed({.length = minutes{90}});
        pass(minutes{30});
        loop->setBack(setBack);
        end->check();
        pass(minutes{59});
        EXPECT_THAT(reasons, IsEmpty());
        pass(minutes{2});
        EXPECT_THAT(reasons, ElementsAre("the 1h30m are over"));
    }
}

TEST_F(RunEndTest, OfALengthTheTimeAsleepCountsAndAClockSetMeanwhileDoesNot) {
    beginByElapsed({.length = hours{3}});
    elapsed += hours{2};
    loop->setBack(year);
    end->check();
    EXPECT_THAT(reasons, IsEmpty());
    pass(minutes{61});
    EXPECT_THAT(reasons, ElementsAre("the 3h are over"));
}

TEST_F(RunEndTest, ATimeOfTheDayIsTheNextOneAfterAClockIsSetBackByAYear) {
    const auto until = RunBound{.until = TimeOfDay{.hour = 18, .minute = 30}};
    beginByElapsed(until);
    pass(minutes{2});
    loop->setBack(year);
    end->check();
    EXPECT_EQ(end->deadline(), until.deadline(loop->now()));
    pass(std::chrono::duration_cast<minutes>(*end->deadline() - loop->now()) + minutes{1});
    EXPECT_THAT(reasons, ElementsAre("it is 18:30"));
}

TEST_F(RunEndTest, ATimeOfTheDayThatAClockHasPassedIsOver) {
    beginByElapsed({.until = TimeOfDay{.hour = 18, .minute = 30}});
    loop->setBack(-year);
    end->check();
    EXPECT_THAT(reasons, ElementsAre("it is 18:30"));
}

TEST_F(RunEndTest, WithoutABoundNothingIsArmed) {
    begin({});
    EXPECT_EQ(loop->armedTimers(), 0U);
    end->check();
    loop->advance(hours{100});
    EXPECT_THAT(reasons, IsEmpty());
    EXPECT_EQ(end->text(), "");
}

TEST_F(RunEndTest, TheEndOfTheLastProcessEndsIt) {
    begin({.processes = {10, 11}}, {{10, 100}, {11, 110}});
    EXPECT_THAT(exits->current(), ElementsAre(WatchedProcess{10, 100}, WatchedProcess{11, 110}));
    EXPECT_EQ(loop->armedTimers(), 0U) << "the kernel tells";
    end->check();
    EXPECT_THAT(reasons, IsEmpty());
    exits->tell();
    EXPECT_THAT(reasons, IsEmpty()) << "on the main thread";
    loop->runPosted();
    EXPECT_THAT(reasons, ElementsAre("the last of 2 processes has ended"));
}

TEST_F(RunEndTest, TheConditionMetFirstEndsItAndTheOtherIsNotMentioned) {
    begin({.length = minutes{5}, .processes = {10}}, {{10, 100}});
    exits->tell();
    loop->advance(minutes{10});
    EXPECT_THAT(reasons, ElementsAre("process 10 has ended"));
    reasons.clear();
    begin({.length = minutes{5}, .processes = {10}}, {{10, 100}});
    loop->advance(minutes{5});
    exits->tell();
    loop->runPosted();
    EXPECT_THAT(reasons, ElementsAre("the 5m are over"));
}

TEST_F(RunEndTest, WordThatComesLateFindsNobody) {
    begin({.processes = {10}}, {{10, 100}});
    exits->tell();
    end.reset();
    loop->runPosted();
    EXPECT_THAT(reasons, IsEmpty());
}

TEST_F(RunEndTest, ItMayBeDestroyedByItsOwnCallback) {
    end = std::make_unique<RunEnd>(RunBound{.length = minutes{5}}, std::vector<WatchedProcess>(), loop, exits,
                                   [this](const std::string& why) {
                                       reasons.push_back(why);
                                       end.reset();
                                   });
    loop->advance(minutes{5});
    EXPECT_EQ(reasons.size(), 1U);
}

TEST_F(RunEndTest, WhereTheSystemCannotWatchTheProcessesAreChecked) {
    exits->failure = std::make_exception_ptr(std::system_error(ENOSYS, std::generic_category()));
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    begin({.processes = {child}}, runningProcesses({child}));
    loop->advance(minutes{3});
    EXPECT_THAT(reasons, IsEmpty());
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    loop->advance(minutes{1});
    EXPECT_EQ(reasons.size(), 1U);
}

} // namespace
} // namespace tavo
