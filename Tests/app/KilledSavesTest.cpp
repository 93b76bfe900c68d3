// The files of each module, written by a process that is killed at any moment. Those of the configuration have their own
// tests, beside the store.
#include "Support/KilledSaves.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/TemporaryDirectory.h"
#include "app/ConfigurationDocument.h"
#include "app/LoginOptionsFile.h"
#include "base/AtomicFile.h"
#include "base/JsonCoding.h"
#include "helper/SleepOverrideJournal.h"
#include "login/macos/HeadlessLaunchAgent.h"
#include "login/macos/LoginLaunchManager.h"
#include "runtime/ActivityFile.h"
#include "runtime/macos/NotingCommandRunner.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

class KilledSavesTest : public testing::Test {
protected:
    KilledSavesTest() { saves.folder = folder.path(); }

    TemporaryDirectory folder;
    TavoPaths paths{folder.path()};
    KilledSaves saves;
};

TEST_F(KilledSavesTest, TheOptionsForTheLoginAreTheOldOnesOrTheNewOnes) {
    const LoginOptionsFile file(folder.path() / "login.conf");
    saves.expectOneOfTwoAfterEveryKill(folder.path() / "login.conf", [&](bool isOdd) {
        file.write(WorkRequirement{.busyPercent = isOdd ? 7.0 : 3.0});
    });
}

TEST_F(KilledSavesTest, TheMeasurementsAreTheOldOnesOrTheNewOnes) {
    const ActivityFile file(paths);
    WorkActivity activity{.requirement = {},
                          .measuredAt = *parseISO8601("2026-01-31T09:00:00Z"),
                          .trees = {{.pid = 7, .executableName = "claude", .cpuPercent = {}}},
                          .lastWorkAt = {}};
    // A child writes its own number into the file.
    saves.save = [&](int number) {
        activity.trees.front().pid = number;
        file.write(activity);
    };
    saves.holds = [&](int number) {
        return WorkActivity::fromJson(parseJson(fileContent(file.path()))).trees.front().pid == number;
    };
    saves.expectWholeAfterEveryKill();
}

TEST_F(KilledSavesTest, TheHelpersJournalIsTheOldOneOrTheNewOne) {
    const SleepOverrideJournal journal(folder.path() / "overrides.json");
    saves.expectOneOfTwoAfterEveryKill(folder.path() / "overrides.json", [&](bool isOdd) {
        SleepOverrideRecord record;
        record.overrides = {{{isOdd ? 12 : 13, 3456}, {PMSetScope::ac}}};
        journal.save(record);
    });
}

TEST_F(KilledSavesTest, TheLoginAgentsAreTheOldOnesOrTheNewOnes) {
    const auto runner = std::make_shared<ScriptedCommandRunner>();
    LoginLaunchManager manager(folder.path() / "app.plist", runner);
    saves.expectOneOfTwoAfterEveryKill(folder.path() / "app.plist", [&](bool isOdd) {
        EXPECT_FALSE(manager.enable(isOdd ? "/opt/tavo" : "/usr/bin/tavo", {})) << "something is left to do";
    });
}

TEST_F(KilledSavesTest, TheAgentOfARunWithoutADesktopIsTheOldOneOrTheNewOne) {
    const auto runner = std::make_shared<ScriptedCommandRunner>();
    HeadlessLaunchAgent agent(folder.path(), runner);
    const auto file = folder.path() / "Library/LaunchAgents" / (std::string(HeadlessAgentDefinition::label) + ".plist");
    saves.expectOneOfTwoAfterEveryKill(
        file, [&](bool isOdd) { (void)agent.enable(isOdd ? "/opt/tavoctl" : "/usr/bin/tavoctl"); });
}

TEST_F(KilledSavesTest, AnEditedConfigurationIsKeptWholeOrNotYet) {
    const auto edited = [](int number) { return std::string(10000, ' ') + std::to_string(number); };
    const auto aside = folder.path() / "config.json.edited";
    saves.save = [&](int number) {
        std::filesystem::remove(aside);
        replaceFileAtomically(paths.configURL(), edited(number));
        keepEditedConfigAside(paths);
    };
    saves.holds = [&](int number) {
        return fileContent(paths.configURL()) == edited(number) &&
               (!std::filesystem::exists(aside) || fileContent(aside) == edited(number));
    };
    saves.expectWholeAfterEveryKill();
    EXPECT_FALSE(std::filesystem::exists(aside.string() + ".2"));
}

} // namespace
} // namespace tavo
