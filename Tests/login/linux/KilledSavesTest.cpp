// The files of launch at login, written by a process that is killed at any moment.
#include "Support/KilledSaves.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/TemporaryDirectory.h"
#include "login/linux/AutostartLoginManager.h"
#include "login/linux/UserServiceManager.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

class KilledSavesTest : public testing::Test {
protected:
    KilledSavesTest() { saves.folder = folder.path(); }

    TemporaryDirectory folder;
    KilledSaves saves;
};

TEST_F(KilledSavesTest, TheAutostartEntryIsTheOldOneOrTheNewOne) {
    AutostartLoginManager manager(folder.path() / "autostart");
    saves.expectOneOfTwoAfterEveryKill(manager.entry(), [&](bool isOdd) {
        EXPECT_FALSE(manager.enable(isOdd ? "/opt/tavo" : "/usr/bin/tavo", {})) << "something is left to do";
    });
}

TEST_F(KilledSavesTest, TheUserServicesUnitIsTheOldOneOrTheNewOne) {
    const auto units = folder.path() / "systemd/user";
    UserServiceManager manager({.ownUnits = units}, std::make_shared<ScriptedCommandRunner>());
    saves.expectOneOfTwoAfterEveryKill(units / "tavo.service", [&](bool isOdd) {
        (void)manager.enable(isOdd ? "/opt/tavoctl" : "/usr/local/bin/tavoctl");
    });
}

} // namespace
} // namespace tavo
