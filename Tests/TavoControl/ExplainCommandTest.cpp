#include "TavoControl/ExplainCommand.h"

#include "Support/DescribedJson.h"
#include "TavoControl/CommandTest.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/LockHolder.h"
#include "base/JsonCoding.h"

namespace tavo {
namespace {

using ::testing::HasSubstr;

class ExplainCommandTest : public CommandTest {
protected:
    void save(TriggerPreset preset) const {
        AppConfig config;
        config.isEnabled = true;
        config.trigger = defaultRule(preset);
        store->saveConfig(config);
    }

    Json explained() {
        return describedJson("explain", printed([&] {
                                 EXPECT_EQ(printExplanation({.json = true}, *store, platform), ExitStatus::success);
                             }));
    }
};

TEST_F(ExplainCommandTest, OfAFreshFolderItSaysThatKeepingAwakeIsSwitchedOffAndWritesNothing) {
    EXPECT_THAT(printed([&] { printExplanation({}, *store, platform); }),
                HasSubstr("> switch   keeping awake is switched off\n"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(ExplainCommandTest, WithoutARunningTavoItDecidesAsOneWouldNow) {
    save(TriggerPreset::codex);
    EXPECT_EQ(explained()["reason"], "noMatchingProcess");
    processes->processes = {{.pid = 5, .parentPID = 1, .executableName = "codex", .commandLine = "codex"},
                            {.pid = 6, .parentPID = 5, .executableName = "node", .commandLine = "node"}};
    const auto json = explained();
    EXPECT_EQ(json["reason"], "active");
    EXPECT_EQ(json["running"], false);
    EXPECT_EQ(json["awake"], false);
    EXPECT_EQ(json["steps"][3]["values"]["matches"][0]["treeSize"], 2);
    EXPECT_FALSE(std::filesystem::exists(store->paths().stateURL())) << "it decides nothing for anybody";
}

TEST_F(ExplainCommandTest, OfARunningTavoTheStateCounts) {
    save(TriggerPreset::always);
    const LockHolder tavo(store->paths().lockURL(), R"({"powerSourcePolicy":"batteryOnly"})");
    RuntimeSnapshot snapshot;
    snapshot.isEnabled = true;
    snapshot.lastDecisionReason = RuntimeDecisionReason::powerSourceMismatch;
    store->saveRuntimeSnapshot(snapshot);
    const auto json = explained();
    EXPECT_EQ(json["reason"], "powerSourceMismatch");
    EXPECT_EQ(json["processID"], tavo.pid());
    EXPECT_EQ(json["change"], "unplug it, or start the run without --power.");
}

TEST_F(ExplainCommandTest, AConfigurationThatCannotBeUsedIsAnErrorAtFirst) {
    folder.write("config.json", "[]");
    EXPECT_THROW(printExplanation({}, *store, platform), ConfigurationError);
}

TEST_F(ExplainCommandTest, AnInvalidFileLaterLeavesTheLastValidConfiguration) {
    save(TriggerPreset::always);
    ExplanationSource source(*store, platform);
    source.collect();
    folder.write("config.json", "[]");
    EXPECT_TRUE(source.collect().status.config.isEnabled);
}

TEST_F(ExplainCommandTest, TheSecondTimeTheCpuUseOfATreeIsKnown) {
    save(TriggerPreset::codex);
    processes->processes = {{.pid = 5, .parentPID = 1, .executableName = "codex", .commandLine = "codex"}};
    ExplanationSource source(*store, platform);
    EXPECT_FALSE(source.collect().trees.front().cpuPercent);
    processes->processes.front().cpuTimeSeconds = 1000;
    EXPECT_GT(source.collect().trees.front().cpuPercent.value_or(0), 100.0);
    processes->processes.front().cpuTimeSeconds = 0;
    EXPECT_EQ(source.collect().trees.front().cpuPercent, 0.0) << "a child that ended takes its time with it";
}

TEST_F(ExplainCommandTest, CollectingReadsTheProcessTableOnce) {
    save(TriggerPreset::codex);
    ExplanationSource source(*store, platform);
    const auto before = processes->timesRead;
    source.collect();
    EXPECT_EQ(processes->timesRead - before, 1);
}

} // namespace
} // namespace tavo
