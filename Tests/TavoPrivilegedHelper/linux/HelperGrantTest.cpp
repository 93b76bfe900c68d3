#include "TavoPrivilegedHelper/linux/HelperGrant.h"

#include "TavoPrivilegedHelper/linux/HelperGrantFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tavo {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST(HelperGrantUser, IsTheOneWhoGaveTheApproval) {
    EXPECT_EQ(HelperGrant::userToServe("1000", nullptr), 1000U);
    EXPECT_EQ(HelperGrant::userToServe(nullptr, "1001"), 1001U);
    EXPECT_EQ(HelperGrant::userToServe("1000", "1001"), 1000U);
    EXPECT_EQ(HelperGrant::userToServe("", "1001"), 1001U);
    EXPECT_EQ(HelperGrant::userToServe(nullptr, nullptr), 0U);
    EXPECT_EQ(HelperGrant::userToServe("", ""), 0U);
    for (const auto* text : {"me", "-1", "1 ", " 1", "1x", "0x1", "4294967295", "4294967296", "1\nUser=0"}) {
        EXPECT_THROW(HelperGrant::userToServe(text, nullptr), HelperGrantError) << text;
    }
}

TEST_F(HelperGrantTest, NamesTheUserAndHasTheSystemListen) {
    const auto mask = umask(0077);
    grantTo(me);
    umask(mask);
    EXPECT_EQ(fileContent(layout.package.grant), HelperGrantFile::contentFor(me));
    EXPECT_EQ(modeOf(layout.package.grant), 0644U);
    EXPECT_EQ(modeOf(grantFolder), 0755U);
    EXPECT_THAT(
        manager->lines,
        ElementsAre("is-enabled com.vrd.tavo.helper.service", "is-enabled com.vrd.tavo.helper.socket",
                    "stop com.vrd.tavo.helper-removal.service", "is-active --quiet com.vrd.tavo.helper-removal.service",
                    "daemon-reload", "reset-failed com.vrd.tavo.helper.socket com.vrd.tavo.helper.service",
                    "--quiet enable com.vrd.tavo.helper.socket",
                    "stop com.vrd.tavo.helper.socket com.vrd.tavo.helper.service", "start com.vrd.tavo.helper.socket",
                    "try-restart com.vrd.tavo.helper.service", "is-active --quiet com.vrd.tavo.helper.socket"));
}

TEST_F(HelperGrantTest, StopsNothingThatListensForTheSameUser) {
    grantTo(me);
    manager->lines.clear();
    grantTo(me);
    EXPECT_THAT(manager->lines, Not(Contains(StartsWith("stop com.vrd.tavo.helper.socket"))));
    EXPECT_THAT(manager->lines, Contains("try-restart com.vrd.tavo.helper.service"));
}

TEST_F(HelperGrantTest, StopsASocketOfAnotherUser) {
    grantTo(me);
    manager->lines.clear();
    EXPECT_THAT(failureOf([&] { grantTo(me + 1); }), HasSubstr("does not listen for user " + std::to_string(me + 1)))
        << "this test has no file of another user's";
    EXPECT_THAT(manager->lines, Contains("stop com.vrd.tavo.helper.socket com.vrd.tavo.helper.service"));
}

TEST_F(HelperGrantTest, AFailureLeavesNoGrantWhereThereWasNone) {
    for (const auto* call : {"daemon-reload", "--quiet enable", "start", "try-restart"}) {
        manager->failing = call;
        EXPECT_THAT(failureOf([&] { grantTo(me); }), HasSubstr(": the manager's words.")) << call;
        EXPECT_FALSE(std::filesystem::exists(grantFolder)) << call;
        EXPECT_THAT(manager->lines, Contains("--quiet disable --now com.vrd.tavo.helper.socket"));
        EXPECT_THAT(manager->lines, Contains("stop com.vrd.tavo.helper.socket com.vrd.tavo.helper.service"));
        EXPECT_EQ(manager->listensFor, std::nullopt) << call;
    }
}

TEST_F(HelperGrantTest, AFailureLeavesTheEarlierGrant) {
    for (const auto* call : {"daemon-reload", "--quiet enable", "try-restart"}) {
        manager->failing = "";
        grantTo(me);
        manager->failing = call;
        failureOf([&] { grantTo(me + 1); });
        EXPECT_EQ(fileContent(layout.package.grant), HelperGrantFile::contentFor(me)) << call;
        EXPECT_EQ(manager->listensFor, me) << call;
    }
}

TEST_F(HelperGrantTest, AFailureBeforeAnybodyElseIsListenedForLeavesTheEarlierUsersOverridesInForce) {
    grantTo(me);
    for (const auto* call : {"daemon-reload", "--quiet enable"}) {
        manager->failing = call;
        manager->lines.clear();
        failureOf([&] { grantTo(me + 1); });
        EXPECT_THAT(manager->lines, Not(Contains(StartsWith("stop com.vrd.tavo.helper.socket")))) << call;
    }
}

TEST_F(HelperGrantTest, AFailureToPutTheEarlierGrantBackLeavesNobodyListenedFor) {
    grantTo(me);
    manager->failing = "try-restart";
    manager->onCall = [&](const std::string& line) {
        if (line.starts_with("try-restart")) { // from now on the folder is one that no grant is written to
            chmod(grantFolder.c_str(), 0777);
        }
    };
    failureOf([&] { grantTo(me + 1); });
    EXPECT_FALSE(std::filesystem::exists(layout.package.grant));
    EXPECT_EQ(manager->listensFor, std::nullopt);
}

TEST_F(HelperGrantTest, ARemovalThatDoesNotEndIsNamedAndNothingIsGranted) {
    manager->isRemovalUnderWay = true;
    EXPECT_THAT(failureOf([&] { grantTo(me); }), HasSubstr("a removal of the helper is under way"));
    EXPECT_FALSE(std::filesystem::exists(grantFolder));
}

TEST_F(HelperGrantTest, OnlyThePackagesProgramIsGranted) {
    const auto other = folder.path() / "build/TavoPrivilegedHelper";
    EXPECT_THAT(failureOf([&] { HelperGrant(manager, layout).grant(me, other); }), HasSubstr(other.string()));
    std::filesystem::remove(layout.package.socketUnit);
    EXPECT_THAT(failureOf([&] { grantTo(me); }), HasSubstr("tavoctl helper install"));
    EXPECT_THAT(manager->lines, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(grantFolder));
}

TEST_F(HelperGrantTest, NeedsSystemd) {
    std::filesystem::remove(layout.package.systemdMark);
    EXPECT_THAT(failureOf([&] { grantTo(me); }), HasSubstr("systemd"));
    EXPECT_FALSE(std::filesystem::exists(grantFolder));
}

TEST_F(HelperGrantTest, FollowsNoLink) {
    const auto target = folder.write("elsewhere/file", "kept");
    std::filesystem::create_directory(grantFolder);
    std::filesystem::create_symlink(target, layout.package.grant);
    grantTo(me);
    EXPECT_EQ(fileContent(target), "kept");
    EXPECT_FALSE(std::filesystem::is_symlink(layout.package.grant));
    std::filesystem::remove_all(grantFolder);
    std::filesystem::create_directory_symlink(folder.path() / "elsewhere", grantFolder);
    EXPECT_THAT(failureOf([&] { grantTo(me); }), HasSubstr(grantFolder.string()));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "elsewhere/grant.conf"));
}

TEST_F(HelperGrantTest, AFolderThatOthersMayChangeIsRefused) {
    std::filesystem::create_directory(grantFolder);
    ASSERT_EQ(chmod(grantFolder.c_str(), 0777), 0);
    EXPECT_THAT(failureOf([&] { grantTo(me); }), HasSubstr("root alone"));
    EXPECT_FALSE(std::filesystem::exists(layout.package.grant));
}

TEST_F(HelperGrantTest, AGrantOfAnotherOwnerBecomesRootsOwn) {
    if (me != 0) {
        GTEST_SKIP() << "only root may give a file away";
    }
    folder.write("etc/helper.socket.d/grant.conf", "");
    ASSERT_EQ(chown(layout.package.grant.c_str(), 1000, 1000), 0);
    grantTo(me);
    struct stat status {};
    ASSERT_EQ(lstat(layout.package.grant.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
}

TEST_F(HelperGrantTest, TakesThePlaceOfAnotherInstallation) {
    installOther();
    folder.write("zzz.conf", "an override that its helper could not end");
    grantTo(me);
    EXPECT_FALSE(std::filesystem::exists(layout.otherInstallation.unitFile));
    EXPECT_FALSE(std::filesystem::exists(layout.otherInstallation.helperExecutable));
    EXPECT_FALSE(std::filesystem::exists(layout.otherInstallation.lidDropIn));
    EXPECT_THAT(manager->lines, Contains("disable --now com.vrd.tavo.helper.service"));
    EXPECT_THAT(manager->lines, Contains("kill --signal=HUP systemd-logind.service"));
}

TEST_F(HelperGrantTest, ItsOwnOverrideStaysWithoutAnotherInstallation) {
    folder.write("zzz.conf", "in force");
    folder.write("local/TavoPrivilegedHelper", "a program without a unit");
    grantTo(me);
    EXPECT_TRUE(std::filesystem::exists(layout.otherInstallation.lidDropIn));
    EXPECT_FALSE(std::filesystem::exists(layout.otherInstallation.helperExecutable));
    EXPECT_THAT(manager->lines, Not(Contains("disable --now com.vrd.tavo.helper.service")));
}

TEST_F(HelperGrantTest, AnotherInstallationsProgramGoesOnceTheSystemListens) {
    installOther();
    manager->onCall = [&](const std::string& line) {
        EXPECT_TRUE(std::filesystem::exists(layout.otherInstallation.helperExecutable)) << line;
        if (line.starts_with("start")) {
            EXPECT_FALSE(std::filesystem::exists(layout.otherInstallation.unitFile)) << "it hides the packaged one";
        }
    };
    grantTo(me);
    EXPECT_FALSE(std::filesystem::exists(layout.otherInstallation.helperExecutable));
}

TEST_F(HelperGrantTest, AFailureSaysThatAnotherInstallationIsGone) {
    installOther();
    manager->failing = "start";
    const auto error = failureOf([&] { grantTo(me); });
    EXPECT_THAT(error, StartsWith(layout.otherInstallation.unitFile.string() + " was removed"));
    EXPECT_THAT(error, EndsWith("could not listen for user " + std::to_string(me) + ": the manager's words."));
    EXPECT_TRUE(std::filesystem::exists(layout.otherInstallation.helperExecutable));
}

TEST_F(HelperGrantTest, AMaskedUnitIsTheAdministratorsDecision) {
    installOther();
    const std::string service = "com.vrd.tavo.helper.service", socket = "com.vrd.tavo.helper.socket";
    manager->maskedUnits = {{service, "masked"}};
    EXPECT_THAT(failureOf([&] { grantTo(me); }), HasSubstr("systemctl unmask " + service + " allows"));
    manager->maskedUnits = {{socket, "masked-runtime"}};
    EXPECT_THAT(failureOf([&] { grantTo(me); }), HasSubstr("systemctl unmask --runtime " + socket + " allows"));
    expectNothingChanged();
}

TEST_F(HelperGrantTest, AUserWhomTheSystemDoesNotKnowIsGrantedNothing) {
    installOther();
    EXPECT_THAT(failureOf([&] { grantTo(unknownUser); }),
                HasSubstr("user " + std::to_string(unknownUser) + " is not known"));
    expectNothingChanged();
    EXPECT_TRUE(HelperGrant::isInUserDatabase(0));
    EXPECT_FALSE(HelperGrant::isInUserDatabase(4294967294U));
}

TEST_F(HelperGrantTest, RevokingEndsEverythingAndLeavesThePackagesFiles) {
    grantTo(me);
    folder.write("etc/sockets.target.wants/helper.socket", "");
    folder.write("zzz.conf", "left by a helper that could not run");
    folder.write("overrides.json", "{}");
    manager->lines.clear();
    revoke();
    EXPECT_THAT(manager->lines,
                ElementsAre("--quiet disable --now com.vrd.tavo.helper.socket", "stop com.vrd.tavo.helper.service",
                            "kill --signal=HUP systemd-logind.service", "daemon-reload",
                            "reset-failed com.vrd.tavo.helper.socket com.vrd.tavo.helper.service"));
    for (const auto& gone :
         {grantFolder, layout.enablement, layout.otherInstallation.lidDropIn, layout.overrideJournal}) {
        EXPECT_FALSE(std::filesystem::exists(gone)) << gone;
    }
    EXPECT_TRUE(std::filesystem::exists(layout.package.helperExecutable));
    EXPECT_TRUE(std::filesystem::exists(layout.package.socketUnit));
}

TEST_F(HelperGrantTest, TheGrantGoesOnceTheHelperHasStopped) {
    grantTo(me);
    manager->onCall = [&](const std::string& line) {
        if (line.starts_with("stop")) {
            EXPECT_TRUE(std::filesystem::exists(layout.package.grant)) << "whoever waits for its end would be misled";
        }
    };
    revoke();
}

TEST_F(HelperGrantTest, RevokingWithoutAGrantDoesNoHarm) {
    revoke();
    EXPECT_FALSE(std::filesystem::exists(grantFolder));
}

TEST_F(HelperGrantTest, RevokingLeavesAnotherInstallationAlone) {
    grantTo(me);
    installOther();
    folder.write("zzz.conf", "the other helper's");
    folder.write("overrides.json", "the other helper's");
    manager->lines.clear();
    revoke();
    EXPECT_FALSE(std::filesystem::exists(grantFolder));
    EXPECT_THAT(manager->lines, Not(Contains("stop com.vrd.tavo.helper.service")));
    for (const auto& kept : {layout.otherInstallation.unitFile, layout.otherInstallation.helperExecutable,
                             layout.otherInstallation.lidDropIn, layout.overrideJournal}) {
        EXPECT_TRUE(std::filesystem::exists(kept)) << kept;
    }
}

TEST_F(HelperGrantTest, RevokingLeavesAnAdministratorsOwnDropIn) {
    grantTo(me);
    folder.write("etc/helper.socket.d/local.conf", "[Socket]\n");
    revoke();
    EXPECT_FALSE(std::filesystem::exists(layout.package.grant));
    EXPECT_TRUE(std::filesystem::exists(grantFolder / "local.conf"));
}

TEST_F(HelperGrantTest, RevokingGoesOnAfterAFailureAndReportsIt) {
    for (const auto* call : {"--quiet disable", "stop com.vrd.tavo.helper.service", "kill", "daemon-reload"}) {
        manager->failing = "";
        grantTo(me);
        folder.write("zzz.conf", "left");
        manager->failing = call;
        EXPECT_THAT(failureOf([&] { revoke(); }), HasSubstr("the manager's words.")) << call;
        EXPECT_FALSE(std::filesystem::exists(layout.otherInstallation.lidDropIn)) << call;
        EXPECT_FALSE(std::filesystem::exists(grantFolder)) << call;
    }
}

TEST_F(HelperGrantTest, RevokingWorksWithoutSystemd) {
    grantTo(me);
    folder.write("etc/sockets.target.wants/helper.socket", "");
    folder.write("zzz.conf", "left");
    std::filesystem::remove(layout.package.systemdMark);
    manager->lines.clear();
    revoke();
    EXPECT_THAT(manager->lines, IsEmpty());
    for (const auto& gone : {grantFolder, layout.enablement, layout.otherInstallation.lidDropIn}) {
        EXPECT_FALSE(std::filesystem::exists(gone)) << gone;
    }
}

} // namespace
} // namespace tavo
