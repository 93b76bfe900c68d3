#include "app/TavoAppModelTesting.h"
#include "base/JsonCoding.h"

namespace tavo {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;

/// A model that was asked to stay awake only while Claude works.
class TavoAppModelWorkTest : public TavoAppModelTest {
protected:
    WorkRequirement requirement{.busyPercent = 1, .grace = minutes{10}};
    double cpuTime = 100;

    void startWorking(const AppConfig& config = watching(TriggerPreset::claudeCode)) {
        store->saveConfig(config);
        runClaude();
        model = TavoAppModel::make(loop, disk, platform(), application, requirement);
        model->start();
        loop->runPosted();
    }

    void runClaude() {
        table->processes = {
            {.pid = 10, .cpuTimeSeconds = cpuTime, .executableName = "claude", .commandLine = "claude --secret x"}};
    }

    /// Lets minutes pass in which Claude uses this many seconds of CPU time each.
    void pass(int count, double cpuTimeAMinute) {
        for (int minute = 0; minute < count; ++minute) {
            for (int half = 0; half < 2; ++half) {
                cpuTime += cpuTimeAMinute / 2;
                runClaude();
                loop->advance(seconds{30});
            }
        }
    }

    Reason reason() const { return model->runtimeSnapshot().lastDecisionReason; }
    bool isHeld() const { return model->runtimeSnapshot().isWakeAssertionActive; }
    std::string activityText() const { return fileContent(folder.path() / "activity.json"); }
};

TEST_F(TavoAppModelWorkTest, AnAgentAtWorkKeepsAwake) {
    startWorking();
    pass(60, 5.8);
    EXPECT_EQ(reason(), Reason::active);
    EXPECT_TRUE(isHeld());
    EXPECT_EQ(runner->children.size(), 1U);
}

TEST_F(TavoAppModelWorkTest, AnAgentAtItsPromptDoesSoUntilTheGraceEndsAndNoLonger) {
    startWorking();
    pass(9, 0.21);
    EXPECT_EQ(reason(), Reason::active);
    EXPECT_EQ(model->workActivity()->graceText(loop->now()), "idle for 9 minutes, sleeping allowed in 1");
    pass(1, 0.21);
    EXPECT_EQ(reason(), Reason::insufficientActivity);
    EXPECT_FALSE(isHeld());
    EXPECT_EQ(model->runtimeStatusCopy(), (RuntimeStatusCopy{"waiting for activity", "claude is idle"}));
    EXPECT_EQ(saved().lastDecisionReason, Reason::insufficientActivity);
}

TEST_F(TavoAppModelWorkTest, WorkAfterAPauseKeepsAwakeAgain) {
    startWorking();
    pass(15, 0.21);
    ASSERT_FALSE(isHeld());
    pass(2, 10.4);
    EXPECT_TRUE(isHeld());
    pass(9, 0.21);
    EXPECT_TRUE(isHeld());
    pass(3, 0.21);
    EXPECT_FALSE(isHeld());
}

TEST_F(TavoAppModelWorkTest, WithoutGraceTheFirstVerdictDecidesHalfAMinuteIn) {
    requirement.grace = seconds{0};
    startWorking();
    EXPECT_TRUE(isHeld());
    loop->advance(seconds{29});
    EXPECT_TRUE(isHeld());
    loop->advance(seconds{1});
    EXPECT_EQ(reason(), Reason::insufficientActivity);
    EXPECT_FALSE(isHeld());
}

TEST_F(TavoAppModelWorkTest, TheEvaluationComesWhenTheGraceEnds) {
    requirement.grace = seconds{95};
    startWorking();
    loop->advance(seconds{94});
    EXPECT_TRUE(isHeld());
    loop->advance(seconds{1});
    EXPECT_FALSE(isHeld());
}

TEST_F(TavoAppModelWorkTest, ARefreshGivesNoVerdictEarly) {
    requirement.grace = seconds{0};
    startWorking();
    for (int look = 0; look < 29; ++look) {
        loop->advance(seconds{1});
        model->refresh();
        EXPECT_TRUE(isHeld());
    }
    loop->advance(seconds{1});
    EXPECT_FALSE(isHeld());
}

TEST_F(TavoAppModelWorkTest, TheActivityFileHoldsTheLastResultAndIsRemovedWithTheRun) {
    startWorking();
    pass(1, 0.21);
    EXPECT_EQ(WorkActivity::fromJson(parseJson(activityText())).trees.at(0).verdict, WorkVerdict::idle);
    EXPECT_THAT(activityText(), testing::Not(testing::HasSubstr("secret")));
    model->quit();
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "activity.json"));
}

TEST_F(TavoAppModelWorkTest, AFullDiskCostsTheFileAndNotTheLock) {
    std::filesystem::create_directories(folder.path() / "activity.json/in the way");
    startWorking();
    pass(2, 5.8);
    EXPECT_TRUE(isHeld());
    EXPECT_EQ(model->lastError(), std::nullopt);
}

TEST_F(TavoAppModelWorkTest, NothingOfItGoesIntoTheConfiguration) {
    startWorking();
    const auto before = configText();
    pass(12, 0.21);
    model->toggleEnabled();
    model->toggleEnabled();
    EXPECT_FALSE(store->loadConfigAsWritten().trigger.requiresActivity);
    EXPECT_FALSE(model->config().trigger.requiresActivity);
    EXPECT_THAT(before, testing::HasSubstr("\"requiresActivity\": false"));
}

TEST_F(TavoAppModelWorkTest, AlwaysOnIsAlwaysOn) {
    startWorking(enabled());
    pass(60, 0);
    EXPECT_EQ(reason(), Reason::active);
    EXPECT_EQ(model->workActivity(), std::nullopt);
    EXPECT_EQ(activityText(), "");
}

TEST_F(TavoAppModelWorkTest, SwitchingOffAndOnStartsOver) {
    startWorking();
    pass(12, 0.21);
    ASSERT_FALSE(isHeld());
    auto config = model->config();
    config.isEnabled = false;
    store->saveConfig(config);
    model->evaluateNow();
    EXPECT_EQ(activityText(), "");
    config.isEnabled = true;
    store->saveConfig(config);
    model->evaluateNow();
    EXPECT_TRUE(isHeld());
    EXPECT_EQ(model->workActivity()->trees.at(0).verdict, WorkVerdict::firstSighting);
}

TEST_F(TavoAppModelWorkTest, WhenTheProgramEndsThereIsNoGrace) {
    startWorking();
    pass(1, 5.8);
    table->processes.clear();
    loop->advance(seconds{60});
    EXPECT_EQ(reason(), Reason::noMatchingProcess);
    EXPECT_FALSE(isHeld());
}

TEST_F(TavoAppModelWorkTest, UnaskedAnIdleProgramKeepsAwakeAndAnOldFileIsRemoved) {
    folder.write("activity.json", "{}");
    runClaude();
    startWith(watching(TriggerPreset::claudeCode));
    pass(60, 0);
    EXPECT_TRUE(isHeld());
    EXPECT_EQ(activityText(), "");
}

} // namespace
} // namespace tavo
