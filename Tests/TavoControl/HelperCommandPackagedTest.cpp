#include "Support/DescribedJson.h"
#include "TavoControl/HelperCommandFixture.h"
#include "base/JsonCoding.h"

#include <gmock/gmock.h>

namespace tavo {
namespace {

using ::testing::HasSubstr;
using Action = HelperCommandOptions::Action;

TEST_F(HelperCommandTest, APackagesHelperIsGrantedAndNotInstalled) {
    setup->packaged = true;
    carryOut(Action::status);
    EXPECT_EQ(linesOf(output).front(),
              "helper       not granted; tavoctl helper install grants staying awake with the lid closed");
    EXPECT_EQ(carryOut(Action::uninstall), ExitStatus::success);
    EXPECT_EQ(output, "the helper is not granted.\n");
    EXPECT_EQ(carryOut(Action::reset), ExitStatus::failure);
    EXPECT_THAT(errors, HasSubstr("is not granted, so there is nothing to reset"));
    installFiles();
    EXPECT_EQ(carryOut(Action::install), ExitStatus::success);
    EXPECT_EQ(output, "the helper is granted and answers; tavo may now keep awake with the lid closed.\n");
    administrator->results = {{}};
    removeFiles();
    folder.write("system/service", "definition");
    administrator->onRun = [this] { removeFiles(); };
    EXPECT_EQ(carryOut(Action::uninstall), ExitStatus::success);
    EXPECT_EQ(output, "the helper's grant is revoked; tavo no longer keeps awake with the lid closed.\n");
}

TEST_F(HelperCommandTest, StatusSaysToWhomAPackagesHelperIsGranted) {
    installFiles();
    setup->packaged = true;
    setup->user = geteuid();
    carryOut(Action::status);
    EXPECT_THAT(linesOf(output), ::testing::Contains("granted to   user " + std::to_string(geteuid())));
    carryOut(Action::status, true);
    const auto json = describedJson("helper-status", output);
    EXPECT_EQ(json.at("packaged"), true);
    EXPECT_EQ(json.at("servedUser"), geteuid());
    folder.write("system/service", "no grant");
    carryOut(Action::status);
    EXPECT_THAT(output, HasSubstr("does not name one user; tavoctl helper install writes it again"));
}

TEST_F(HelperCommandTest, AHelperGrantedToSomebodyElseIsTold) {
    HelperFacts facts{.state = PrivilegedHelperInstallState::installedUnreachable,
                      .isPackaged = true,
                      .servedUser = 1001,
                      .user = 1000};
    EXPECT_EQ(helperReportLines(facts).front(),
              "helper       granted to another user (user id 1001); tavoctl helper install grants it to you instead");
    for (const uid_t user : {1001U, 0U}) {
        facts.user = user;
        EXPECT_EQ(helperReportLines(facts).front(),
                  "helper       granted, but does not answer; tavoctl helper install grants it again");
    }
}

} // namespace
} // namespace tavo
