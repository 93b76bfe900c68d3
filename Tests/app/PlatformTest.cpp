#include "Support/ScriptedSurroundings.h"
#include "app/LoginOptionsFile.h"
#include "base/DescribedError.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

/// A system whose launch at login passes no options on.
struct PlatformTest : testing::Test, ScriptedSurroundings {
    Platform made;

    PlatformTest() {
        made = platform();
        made.loginOptionsFile = folder.path() / "login.conf";
        made.appReadsLoginOptions = true;
        login->program = "/opt/tavo/bin/tavo";
    }
};

TEST_F(PlatformTest, TheAppObeysWhatIsKeptForTheLogin) {
    EXPECT_EQ(made.requirementAtStart(), std::nullopt);
    const WorkRequirement requirement{.busyPercent = 3};
    LoginOptionsFile(made.loginOptionsFile).write(requirement);
    EXPECT_EQ(made.requirementAtStart(), requirement);
}

TEST_F(PlatformTest, ButNotWithoutLaunchAtLoginNorWhereThatPassesOptionsOn) {
    LoginOptionsFile(made.loginOptionsFile).write(WorkRequirement());
    login->program.reset();
    EXPECT_EQ(made.requirementAtStart(), std::nullopt);
    login->program = "/opt/tavo/bin/tavo";
    made.appReadsLoginOptions = false;
    EXPECT_EQ(made.requirementAtStart(), std::nullopt);
}

TEST_F(PlatformTest, ADamagedFileIsSaid) {
    folder.write("login.conf", "while-working\nbusy lots\n");
    EXPECT_THROW((void)made.requirementAtStart(), DescribedError);
}

} // namespace
} // namespace tavo
