#include "SystemChecks.h"

#include "Support/FixedPowerEnvironment.h"
#include "Support/ScriptedProcessTable.h"
#include "Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tavo {
namespace {

class SystemChecksTest : public testing::Test {
protected:
    TemporaryDirectory folder;
    TavoStore store{TavoPaths{folder.path() / "Tavo"}};
    std::shared_ptr<FixedPowerEnvironment> power = std::make_shared<FixedPowerEnvironment>();
    std::shared_ptr<ScriptedProcessTable> table = std::make_shared<ScriptedProcessTable>();

    SystemCheck check(const std::string& subject) const {
        const auto checks = checkSurroundings({.powerEnvironment = power, .processes = table}, store);
        const auto found = std::find_if(checks.begin(), checks.end(),
                                        [&](const auto& candidate) { return candidate.subject == subject; });
        return found == checks.end() ? SystemCheck{.subject = "missing"} : *found;
    }
};

TEST_F(SystemChecksTest, AFreshMachineIsFine) {
    for (const auto* subject : {"process table", "power", "configuration", "folder"}) {
        EXPECT_EQ(check(subject).subject, subject);
        EXPECT_EQ(check(subject).verdict, CheckVerdict::fine) << subject;
        EXPECT_EQ(check(subject).advice, "");
    }
}

TEST_F(SystemChecksTest, AnUnreadableProcessTableIsBroken) {
    table->failure = std::make_exception_ptr(ProcessWatcherError::malformedTimeValue("x"));
    EXPECT_EQ(check("process table").verdict, CheckVerdict::broken);
    EXPECT_EQ(check("process table").finding, "could not parse cpu time value: x");
}

TEST_F(SystemChecksTest, AnUnknownPowerSourceIsALimit) {
    power->status = {};
    EXPECT_EQ(check("power").verdict, CheckVerdict::limited);
    EXPECT_NE(check("power").advice, "");
}

TEST_F(SystemChecksTest, ABrokenConfigurationIsNamed) {
    folder.write("Tavo/config.json", "{");
    EXPECT_EQ(check("configuration").verdict, CheckVerdict::broken);
    EXPECT_NE(check("configuration").finding.find("config.json"), std::string::npos);
}

TEST_F(SystemChecksTest, AFolderThatCannotBeMadeIsBroken) {
    folder.write("Tavo", "a file in the folder's place");
    EXPECT_EQ(check("folder").verdict, CheckVerdict::broken);
}

} // namespace
} // namespace tavo
