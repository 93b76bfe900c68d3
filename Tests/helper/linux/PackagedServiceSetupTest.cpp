#include "helper/linux/PackagedServiceSetup.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedHelperClient.h"
#include "Support/TemporaryDirectory.h"
#include "helper/ClosedLidSupport.h"
#include "helper/PrivilegedHelperInstaller.h"
#include "helper/linux/SystemdServiceSetup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using State = PrivilegedHelperInstallState;

TEST(HelperGrantFile, SaysWhoseTheSocketIs) {
    const auto content = HelperGrantFile::contentFor(1000);
    EXPECT_THAT(content, HasSubstr("\n[Socket]\nSocketUser=1000\n"));
    for (const uid_t user : {0U, 1000U, 4294967294U}) {
        EXPECT_EQ(HelperGrantFile::userIn(HelperGrantFile::contentFor(user)), user);
    }
}

TEST(HelperGrantFile, AnythingElseNamesNobody) {
    const auto content = HelperGrantFile::contentFor(1000);
    const auto head = content.substr(0, content.size() - 5);
    for (const auto& text : {std::string(), std::string("[Socket]\nSocketUser=1000\n"), head + "\n", head + "alice\n",
                             head + "1000", head + "-1\n", head + "4294967295\n", head + "4294967296\n",
                             content + "SocketMode=0666\n", content + "\n", " " + content}) {
        EXPECT_EQ(HelperGrantFile::userIn(text), std::nullopt) << text;
    }
}

class PackagedSetup : public testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directories(layout.systemdMark); }

    void grantTo(uid_t user) const { folder.write("etc/grant.conf", HelperGrantFile::contentFor(user)); }

    TemporaryDirectory folder;
    std::filesystem::path program = folder.write("usr/libexec/tavo/TavoPrivilegedHelper", "program");
    PackagedHelperLayout layout{.helperExecutable = program,
                                .socketUnit = folder.write("usr/lib/helper.socket", "unit"),
                                .grant = folder.path() / "etc/grant.conf",
                                .systemdMark = folder.path() / "booted"};
    std::shared_ptr<PackagedServiceSetup> setup = std::make_shared<PackagedServiceSetup>(layout);
    std::shared_ptr<ScriptedHelperClient> client = std::make_shared<ScriptedHelperClient>();
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();
    ClosedLidSupport support{{.client = client,
                              .setup = setup,
                              .administratorRunner = runner,
                              .source = program,
                              .sleeper = [](std::chrono::microseconds) {}}};
    TavoPaths paths{folder.path() / "Tavo"};
};

TEST_F(PackagedSetup, HasItsPlacesInTheSystem) {
    const PackagedServiceSetup system;
    EXPECT_EQ(system.helperExecutable(), "/usr/libexec/tavo/TavoPrivilegedHelper");
    EXPECT_EQ(system.serviceDefinition(), "/etc/systemd/system/com.vrd.tavo.helper.socket.d/grant.conf");
    EXPECT_EQ(system.overrideJournal(), SystemdServiceSetup().overrideJournal());
}

TEST_F(PackagedSetup, WithoutAGrantItIsNotInstalledAndNobodyIsAsked) {
    EXPECT_EQ(support.state(), State::notInstalled);
    EXPECT_FALSE(support.hasFiles());
    EXPECT_THAT(client->commands, IsEmpty());
    grantTo(1000);
    EXPECT_EQ(support.state(), State::ready);
    EXPECT_TRUE(support.hasFiles());
}

TEST_F(PackagedSetup, ThePackagesOwnProgramIsTrusted) {
    EXPECT_TRUE(support.matchesThisBuild());
}

TEST_F(PackagedSetup, InstallingHasThePackagesProgramWriteTheGrant) {
    runner->onRun = [this] { grantTo(1000); };
    EXPECT_EQ(support.install(paths), State::ready);
    EXPECT_THAT(runner->commands, ElementsAre(ShellCommand{
                                      .executableURL = program, .arguments = {"--grant"}, .requiresPrivilege = true}));
    EXPECT_FALSE(std::filesystem::exists(paths.rootDirectory)) << "nothing is staged";
}

TEST_F(PackagedSetup, UninstallingHasItRevokeTheGrant) {
    grantTo(1000);
    runner->onRun = [this] { std::filesystem::remove(layout.grant); };
    EXPECT_EQ(support.uninstall(paths), State::notInstalled);
    EXPECT_THAT(runner->commands, ElementsAre(ShellCommand{
                                      .executableURL = program, .arguments = {"--revoke"}, .requiresPrivilege = true}));
}

TEST_F(PackagedSetup, AResetIsOverOnceTheGrantHasGone) {
    grantTo(1000);
    client->answers = {PrivilegedHelperResponse::ok()};
    client->onSend = [this](const PrivilegedHelperCommand&) { std::filesystem::remove(layout.grant); };
    EXPECT_TRUE(support.reset());
    EXPECT_TRUE(std::filesystem::exists(program));
}

TEST_F(PackagedSetup, TheHelpersOwnRemovalRevokesLaterInAUnitOfItsOwn) {
    const auto command = setup->deferredUninstallCommand(1);
    EXPECT_EQ(command.arguments.back(), "sleep 1\nexec '" + program.string() + "' --revoke");
    EXPECT_THAT(command.arguments, testing::Contains("--unit=com.vrd.tavo.helper-removal.service"));
}

TEST_F(PackagedSetup, AGrantForWhomeverIsItsOwnAndSaysWhom) {
    EXPECT_EQ(setup->servedUser(HelperGrantFile::contentFor(1001)), 1001U);
    EXPECT_TRUE(setup->isOwnDefinition(HelperGrantFile::contentFor(1001)));
    EXPECT_TRUE(setup->isOwnDefinition(setup->serviceDefinitionContent()));
    EXPECT_FALSE(setup->isOwnDefinition("[Socket]\nSocketMode=0666\n"));
}

TEST_F(PackagedSetup, WithoutSystemdNothingCanBeGranted) {
    std::filesystem::remove(layout.systemdMark);
    try {
        support.install(paths);
        FAIL() << "nothing was thrown";
    } catch (const PrivilegedHelperInstallerError& error) {
        EXPECT_EQ(error, PrivilegedHelperInstallerError::installFailed(
                             "the privileged helper is a service of systemd, which does not run this system; keeping "
                             "awake with the lid closed is not possible here."));
    }
    EXPECT_THAT(runner->commands, IsEmpty());
}

TEST_F(PackagedSetup, APackageThatHasGoneLeavesASentence) {
    grantTo(1000);
    std::filesystem::remove(program);
    EXPECT_EQ(support.state(), State::notInstalled);
    try {
        support.uninstall(paths);
        FAIL() << "nothing was thrown";
    } catch (const PrivilegedHelperInstallerError& error) {
        EXPECT_EQ(error, PrivilegedHelperInstallerError::uninstallFailed(
                             program.string() +
                             " has gone, which would revoke the grant; install tavo's package again, or remove " +
                             layout.grant.string() + " as root and restart the computer."));
    }
    EXPECT_THROW(support.install(paths), PrivilegedHelperInstallerError);
    EXPECT_THAT(runner->commands, IsEmpty());
}

TEST_F(PackagedSetup, IsChosenForThePackagesProgramAlone) {
    const auto isPackaged = [this](const std::optional<std::filesystem::path>& companion) {
        return helperServiceSetup(companion, layout)->isPackaged();
    };
    EXPECT_TRUE(isPackaged(program));
    EXPECT_TRUE(isPackaged(folder.path() / "usr/libexec/../libexec/tavo/TavoPrivilegedHelper"));
    EXPECT_FALSE(isPackaged(std::nullopt));
    EXPECT_FALSE(isPackaged(folder.write("build/TavoPrivilegedHelper", "program")));
    EXPECT_FALSE(isPackaged(folder.path() / "nothing"));
    std::filesystem::remove(layout.socketUnit);
    EXPECT_FALSE(isPackaged(program)) << "a tarball unpacked to /usr brings no units";
}

} // namespace
} // namespace tavo
