#include "Support/ScriptedProcessExits.h"
#include "app/TavoAppModelTesting.h"

#include <system_error>

namespace tavo {
namespace {

using std::chrono::seconds;

/// A model that watches Claude, and is notified when it exits.
class MatchedExitsTest : public TavoAppModelTest {
protected:
    std::shared_ptr<ScriptedProcessExits> exits = std::make_shared<ScriptedProcessExits>();
    std::uint64_t nextStart = 100;

    void startWatching(const std::optional<WorkRequirement>& requirement = std::nullopt) {
        store->saveConfig(watching(TriggerPreset::claudeCode));
        auto surroundings = platform();
        surroundings.processExits = exits;
        model = TavoAppModel::make(loop, disk, std::move(surroundings), application, requirement);
        model->onChange([this](ModelChanges changed) { changes.push_back(changed); });
        model->start();
        loop->runPosted();
    }

    void run(const std::vector<std::int32_t>& pids) {
        table->processes.clear();
        for (const auto pid : pids) {
            table->processes.push_back({.pid = pid,
                                        .cpuTimeSeconds = 1,
                                        .executableName = "claude",
                                        .commandLine = "claude",
                                        .startTime = nextStart + static_cast<std::uint64_t>(pid)});
        }
    }

    void tell() {
        exits->tell();
        loop->runPosted();
    }

    bool isHeld() const { return model->runtimeSnapshot().isWakeAssertionActive; }
    Reason reason() const { return model->runtimeSnapshot().lastDecisionReason; }
};

TEST_F(MatchedExitsTest, TheEndOfTheLastMatchReleasesAtOnce) {
    run({10, 11});
    startWatching();
    ASSERT_TRUE(isHeld());
    EXPECT_THAT(exits->current(), ElementsAre(WatchedProcess{10, 110}, WatchedProcess{11, 111}));
    run({});
    tell();
    EXPECT_FALSE(isHeld());
    EXPECT_EQ(reason(), Reason::noMatchingProcess);
    EXPECT_FALSE(runner->children.front()->isRunning());
    EXPECT_THAT(exits->current(), IsEmpty());
}

TEST_F(MatchedExitsTest, AnotherMatchKeepsAwakeAndIsWatchedNext) {
    run({10});
    startWatching();
    run({12});
    tell();
    EXPECT_TRUE(isHeld());
    EXPECT_THAT(exits->current(), ElementsAre(WatchedProcess{12, 112}));
    EXPECT_EQ(runner->children.size(), 1U);
}

TEST_F(MatchedExitsTest, TheEndIsNoPauseInTheWork) {
    run({10});
    startWatching(WorkRequirement{.busyPercent = 1, .grace = std::chrono::minutes{10}});
    ASSERT_TRUE(isHeld());
    run({});
    tell();
    EXPECT_FALSE(isHeld());
    EXPECT_EQ(reason(), Reason::noMatchingProcess);
}

TEST_F(MatchedExitsTest, TheSameProcessesStayWatched) {
    run({10});
    startWatching();
    loop->advance(seconds{600});
    EXPECT_EQ(exits->watchesMade, 1);
    run({10, 11});
    loop->advance(seconds{60});
    EXPECT_EQ(exits->watchesMade, 2);
    EXPECT_EQ(exits->current().size(), 2U);
}

TEST_F(MatchedExitsTest, AReusedNumberIsAnotherProcess) {
    run({10});
    startWatching();
    nextStart = 500;
    run({10});
    loop->advance(seconds{60});
    EXPECT_THAT(exits->current(), ElementsAre(WatchedProcess{10, 510}));
}

TEST_F(MatchedExitsTest, NothingIsWatchedOnceNothingIsAskedFor) {
    run({10});
    startWatching();
    model->releaseEverything();
    EXPECT_THAT(exits->current(), IsEmpty()) << "stopped";
    model->evaluateNow();
    ASSERT_THAT(exits->current(), testing::SizeIs(1));
    model->toggleEnabled();
    EXPECT_THAT(exits->current(), IsEmpty()) << "switched off";
    store->saveConfig(watching(TriggerPreset::claudeCode));
    model->evaluateNow();
    ASSERT_THAT(exits->current(), testing::SizeIs(1));
    model->quit();
    EXPECT_THAT(exits->current(), IsEmpty()) << "quit";
}

TEST_F(MatchedExitsTest, WordOfAnEarlierSetIsOld) {
    run({10});
    startWatching();
    exits->tell();
    run({12});
    model->evaluateNow();
    changes.clear();
    loop->runPosted();
    EXPECT_THAT(changes, IsEmpty());
    EXPECT_THAT(exits->current(), ElementsAre(WatchedProcess{12, 112}));
}

/// As with a matched script that keeps restarting itself.
TEST_F(MatchedExitsTest, ProcessesThatFollowOneAnotherAreNotEachLookedFor) {
    run({10});
    startWatching();
    const auto looks = [this] { return table->timesRead; };
    const auto before = looks();
    for (std::int32_t pid = 11; pid < 600; ++pid) {
        run({pid});
        if (!exits->current().empty()) {
            tell();
        }
        loop->advance(std::chrono::seconds{1});
    }
    EXPECT_LT(looks() - before, 40) << "in ten minutes";
    EXPECT_TRUE(isHeld());
}

TEST_F(MatchedExitsTest, TheMinuteDecidesWhereTheSystemCannotWatch) {
    exits->failure = std::make_exception_ptr(std::system_error(EMFILE, std::generic_category()));
    run({10});
    startWatching();
    EXPECT_TRUE(isHeld());
    run({});
    loop->advance(seconds{60});
    EXPECT_FALSE(isHeld());
}

} // namespace
} // namespace tavo
