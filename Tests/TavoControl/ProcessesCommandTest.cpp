#include "TavoControl/ProcessesCommand.h"

#include "Support/DescribedJson.h"
#include "TavoControl/CommandTest.h"
#include "TavoControl/ExitStatus.h"
#include "base/JsonCoding.h"

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

class ProcessesCommandTest : public CommandTest {
protected:
    ProcessesCommandTest() {
        processes->processes = {
            {.pid = 1, .parentPID = 0, .cpuTimeSeconds = 100, .executableName = "init", .commandLine = "/sbin/init"},
            {.pid = 10, .parentPID = 1, .cpuTimeSeconds = 1.5, .executableName = "node", .commandLine = "node codex"},
            {.pid = 11, .parentPID = 10, .cpuTimeSeconds = 2.25, .executableName = "sh", .commandLine = "sh -c make"},
            {.pid = 12, .parentPID = 11, .cpuTimeSeconds = 4, .executableName = "make", .commandLine = "make"},
            {.pid = 20, .parentPID = 1, .cpuTimeSeconds = 0, .executableName = "Cursor", .commandLine = "/opt/Cursor"},
        };
    }

    std::string run(const ProcessesOptions& options) {
        return printed([&] { EXPECT_EQ(printProcesses(options, *store, platform), ExitStatus::success); });
    }
};

ProcessesOptions preset(TriggerPreset preset, bool json = false) {
    return {.rule = defaultRule(preset), .json = json};
}

TEST_F(ProcessesCommandTest, EveryMatchIsListedWithTheSizeAndTimeOfItsTree) {
    EXPECT_THAT(linesOf(run(preset(TriggerPreset::codex))),
                ElementsAre("     pid  name                  tree        cpu  command line",
                            "      10  node                     3      7.75s  node codex"));
}

TEST_F(ProcessesCommandTest, WithJsonTheListIsAnArrayOfObjects) {
    EXPECT_EQ(describedJson("processes", run(preset(TriggerPreset::codex, true))), Json::parse(R"([{
        "pid": 10, "executableName": "node", "commandLine": "node codex", "treeSize": 3, "cpuTimeSeconds": 7.75}])"));
}

TEST_F(ProcessesCommandTest, TheExecutableOptionComparesTheWholeName) {
    const TriggerRule rule{
        .mode = TriggerMode::process, .matchStrategy = TriggerMatchStrategy::executableName, .query = "MAKE"};
    const auto list = describedJson("processes", run({.rule = rule, .json = true}));
    ASSERT_THAT(list, SizeIs(1));
    EXPECT_EQ(list[0]["pid"], 12);
}

TEST_F(ProcessesCommandTest, WithoutARuleTheConfiguredOneCounts) {
    auto config = AppConfig::defaultConfig();
    config.trigger = defaultRule(TriggerPreset::cursor);
    store->saveConfig(config);
    const auto list = describedJson("processes", run({.json = true}));
    ASSERT_THAT(list, SizeIs(1));
    EXPECT_EQ(list[0]["pid"], 20);
}

TEST_F(ProcessesCommandTest, NoMatchIsSaid) {
    EXPECT_EQ(run(preset(TriggerPreset::claudeCode)), "no process matches claude code\n");
    EXPECT_EQ(describedJson("processes", run(preset(TriggerPreset::claudeCode, true))), Json::array());
}

TEST_F(ProcessesCommandTest, AlwaysOnWatchesNoProcess) {
    EXPECT_EQ(run({}), "the trigger is always on, so no process is watched; name one with --preset, --executable or "
                       "--command.\n");
    EXPECT_EQ(describedJson("processes", run({.json = true})), Json::array());
    EXPECT_EQ(processes->timesRead, 0);
}

TEST_F(ProcessesCommandTest, ControlCharactersFromOutsideAreVisible) {
    processes->processes = {{.pid = 5, .executableName = "a\x1B[2J", .commandLine = "codex\r\nx\x1B]0;t\x07"}};
    const auto text = run(preset(TriggerPreset::codex));
    EXPECT_EQ(text.find_first_of("\x1B\r\x07"), std::string::npos);
    EXPECT_THAT(linesOf(text), ElementsAre(::testing::_, "       5  a^[[2J                   1      0.00s  "
                                                         "codex^M^Jx^[]0;t^G"));
    EXPECT_EQ(run({.rule = TriggerRule{.mode = TriggerMode::process, .query = "z\x1B"}}), "no process matches z^[\n");
}

TEST_F(ProcessesCommandTest, AnUnusableConfigurationMattersOnlyWhenItIsNeeded) {
    folder.write("config.json", "{");
    EXPECT_THROW(run({}), ConfigurationError);
    EXPECT_THAT(linesOf(run(preset(TriggerPreset::codex))), SizeIs(2));
}

TEST_F(ProcessesCommandTest, ATableThatCannotBeReadIsAFailure) {
    processes->failure = std::make_exception_ptr(std::runtime_error("no table"));
    EXPECT_THROW(run(preset(TriggerPreset::codex)), std::runtime_error);
}

/// The process table at the second measurement.
class MeasuredProcessesTest : public ProcessesCommandTest {
protected:
    MeasuredProcessesTest() {
        platform.sleeper = [this](std::chrono::microseconds time) {
            slept += time;
            processes->processes = later;
        };
        later = processes->processes;
    }

    ProcessesOptions measured(TriggerPreset name, double busy = 1) {
        return {.rule = defaultRule(name), .cpu = WorkRequirement{.busyPercent = busy}};
    }

    std::vector<ProcessSample> later;
    std::chrono::microseconds slept{0};
};

TEST_F(MeasuredProcessesTest, EveryMatchIsShownWithItsTreesShareOfACore) {
    later[3].cpuTimeSeconds += 0.25; // of make, two levels below
    EXPECT_THAT(
        linesOf(run(measured(TriggerPreset::codex))),
        ElementsAre("     pid  name                  tree        cpu  now                           command line",
                    "      10  node                     3      8.00s    5.0% works                  node codex"));
    EXPECT_EQ(slept, std::chrono::seconds{5});
}

TEST_F(MeasuredProcessesTest, TheShareThatCountsAsWorkMayBeAnother) {
    later[3].cpuTimeSeconds += 0.25;
    EXPECT_THAT(run(measured(TriggerPreset::codex, 5)), ::testing::HasSubstr("  5.0% idle "));
}

TEST_F(MeasuredProcessesTest, ChangedMembersAndNewcomersAreNamed) {
    later.pop_back();
    later.erase(later.begin() + 3);
    later.push_back({.pid = 30, .parentPID = 1, .executableName = "codex", .commandLine = "codex"});
    EXPECT_THAT(run(measured(TriggerPreset::codex)),
                ::testing::AllOf(::testing::HasSubstr("  0.0% works, members changed "),
                                 ::testing::HasSubstr("  new, works until measured ")));
}

TEST_F(MeasuredProcessesTest, WithJsonTheVerdictIsInTheObject) {
    later[1].cpuTimeSeconds += 0.02;
    auto options = measured(TriggerPreset::codex);
    options.json = true;
    EXPECT_EQ(describedJson("processes", run(options)), Json::parse(R"([{
        "pid": 10, "executableName": "node", "commandLine": "node codex", "treeSize": 3, "cpuTimeSeconds": 7.77,
        "cpuPercent": 0.4, "membersChanged": false, "isWorking": false, "verdict": "idle"}])"));
}

TEST_F(MeasuredProcessesTest, AlwaysOnIsNotWaitedFor) {
    run({.cpu = WorkRequirement()});
    EXPECT_EQ(slept.count(), 0);
}

} // namespace
} // namespace tavo
