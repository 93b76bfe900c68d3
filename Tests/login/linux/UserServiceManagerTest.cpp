#include "login/linux/UserServiceManager.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace tavo {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

std::string call(const std::string& arguments) {
    return "run /usr/bin/systemctl --user --quiet " + arguments;
}

const auto asksForUnits = call("show --property=UnitPath --value");
const auto asksWhetherEnabled = call("is-enabled tavo.service");
const auto asksWhetherRunning = call("show --property=ActiveState --value tavo.service");

/// As the manager answers when it has no such unit.
const ShellCommandResult notEnabled{.exitCode = 1, .standardError = "Failed to get unit file state for tavo.service"};
const ShellCommandResult unreachable{.exitCode = 1, .standardError = "Failed to connect to bus: No medium found"};

class UserServiceManagerTest : public ::testing::Test {
protected:
    static HeadlessLaunchManaging::Start enable(UserServiceManager& manager, const std::filesystem::path& program) {
        return manager.enable(program);
    }

    /// The sentence with which a change is refused.
    template <typename Change>
    static std::string refusalOf(Change change) {
        try {
            change();
        } catch (const HeadlessLaunchError& error) {
            return error.description();
        }
        return "no refusal";
    }

    void link() const {
        std::filesystem::create_directories(wants.parent_path());
        std::filesystem::create_symlink("../tavo.service", wants);
    }

    /// A package's program with its unit.
    std::filesystem::path installPackage() const {
        folder.write("lib/tavo.service", "[Service]\n");
        return folder.write("usr/bin/tavoctl", "");
    }

    TemporaryDirectory folder;
    std::filesystem::path unit = folder.path() / "own/systemd/user/tavo.service";
    std::filesystem::path wants = folder.path() / "own/systemd/user/default.target.wants/tavo.service";
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();
    UserServiceManager manager{{.ownUnits = folder.path() / "own/systemd/user",
                                .packagedUnit = folder.path() / "lib/tavo.service",
                                .packagedProgram = folder.path() / "usr/bin/tavoctl"},
                               runner};
    const std::vector<std::string> enabling{asksForUnits, call("daemon-reload"), call("reenable tavo.service"),
                                            call("restart tavo.service")};
};

TEST_F(UserServiceManagerTest, AUnitThatNamesThisProgramIsWrittenEnabledAndStarted) {
    EXPECT_EQ(enable(manager, "/opt/tavo/bin/tavoctl").failedWith, std::nullopt);
    EXPECT_THAT(*runner->log, ::testing::ElementsAreArray(enabling));
    const auto text = fileContent(unit);
    EXPECT_THAT(text, AllOf(StartsWith("# Written by tavoctl login on --headless;"),
                            HasSubstr("\nExecStart=\"/opt/tavo/bin/tavoctl\" run --service\n"),
                            Not(HasSubstr("/usr/bin/tavoctl"))));
    struct stat status {};
    ASSERT_EQ(stat(unit.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
}

TEST_F(UserServiceManagerTest, TheUnitSaysHowTheServiceIsRestarted) {
    const auto text = UserServiceManager::unitText("/opt/tavo/bin/tavoctl");
    for (const auto* line :
         {"\nType=notify\n", "\nRestart=on-failure\n", "\nRestartPreventExitStatus=64 69 75 78 127 203\n",
          "\nNoNewPrivileges=yes\n", "\nWantedBy=default.target\n"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
}

TEST_F(UserServiceManagerTest, APathIsQuotedForTheUnit) {
    EXPECT_THAT(UserServiceManager::unitText("/opt/a b/100%/$x/tavoctl"),
                HasSubstr("\nExecStart=\"/opt/a b/100%%/$$x/tavoctl\" run --service\n"));
}

TEST_F(UserServiceManagerTest, APackagesUnitIsUsedAsItIs) {
    const auto program = installPackage();
    (void)manager.enable(program);
    EXPECT_FALSE(std::filesystem::exists(unit));
    EXPECT_THAT(*runner->log, ::testing::ElementsAreArray(enabling));
}

TEST_F(UserServiceManagerTest, AUnitOfABuildFolderMakesWayForThePackages) {
    (void)manager.enable("/build/bin/tavoctl");
    ASSERT_TRUE(std::filesystem::exists(unit));
    (void)manager.enable(installPackage());
    EXPECT_FALSE(std::filesystem::exists(unit));
}

TEST_F(UserServiceManagerTest, ABuildFoldersProgramBesideAPackageHasAUnitOfItsOwn) {
    installPackage();
    (void)manager.enable(folder.write("build/tavoctl", ""));
    EXPECT_THAT(fileContent(unit), HasSubstr((folder.path() / "build/tavoctl").string()));
}

TEST_F(UserServiceManagerTest, SomebodyElsesUnitIsLeftAlone) {
    folder.write("own/systemd/user/tavo.service", "[Service]\nExecStart=/bin/true\n");
    link();
    for (const auto& sentence :
         {refusalOf([&] { (void)manager.enable("/opt/tavo/bin/tavoctl"); }),
          refusalOf([&] { (void)manager.enable(installPackage()); }), refusalOf([&] { manager.disable(); })}) {
        EXPECT_THAT(sentence, AllOf(StartsWith(unit.string() + " was not written by tavoctl, so it is left alone;"),
                                    HasSubstr("move it away")));
    }
    EXPECT_EQ(fileContent(unit), "[Service]\nExecStart=/bin/true\n");
    EXPECT_TRUE(manager.isEnabled());
    EXPECT_THAT(*runner->log, ::testing::Each(AnyOf(asksForUnits, asksWhetherEnabled)));
}

TEST_F(UserServiceManagerTest, AMaskedUnitIsSomebodyElsesToo) {
    std::filesystem::create_directories(unit.parent_path());
    std::filesystem::create_symlink("/dev/null", unit);
    EXPECT_THAT(refusalOf([&] { (void)manager.enable("/opt/tavo/bin/tavoctl"); }), HasSubstr("left alone"));
    EXPECT_TRUE(std::filesystem::is_symlink(unit));
}

TEST_F(UserServiceManagerTest, WithoutAServiceManagerNothingChanges) {
    runner->results = {unreachable};
    EXPECT_EQ(refusalOf([&] { (void)manager.enable("/opt/tavo/bin/tavoctl"); }),
              "your service manager cannot be reached: Failed to connect to bus: No medium found; a login starts one, "
              "by ssh too, but su and sudo do not.");
    EXPECT_FALSE(std::filesystem::exists(unit));
    runner->failure = std::make_exception_ptr(std::system_error(ENOENT, std::generic_category(), "systemctl"));
    EXPECT_THAT(refusalOf([&] { (void)manager.enable("/opt/tavo/bin/tavoctl"); }),
                HasSubstr("this system has no systemd"));
    EXPECT_FALSE(std::filesystem::exists(unit));
}

TEST_F(UserServiceManagerTest, ARefusalToEnableIsSaidInSystemctlsWords) {
    runner->results = {{}, {}, {.exitCode = 1, .standardError = "Failed to reenable unit: Read-only file system"}};
    EXPECT_EQ(refusalOf([&] { (void)manager.enable("/opt/tavo/bin/tavoctl"); }),
              "systemctl --user reenable failed: Failed to reenable unit: Read-only file system");
    runner->results = {{}, {.exitCode = 4}};
    EXPECT_EQ(refusalOf([&] { (void)manager.enable("/opt/tavo/bin/tavoctl"); }),
              "systemctl --user daemon-reload failed with exit code 4.");
}

TEST_F(UserServiceManagerTest, AStartThatFailsHasTheProgramsStatus) {
    for (const auto& [shown, status] : {std::pair{"75", 75}, std::pair{"nonsense", 1}}) {
        runner->results = {{}, {}, {}, {.exitCode = 1, .standardError = "Job failed."}, {.standardOutput = shown}};
        EXPECT_EQ(enable(manager, "/opt/tavo/bin/tavoctl").failedWith, status);
        EXPECT_EQ(runner->log->back(), call("show --property=ExecMainStatus --value tavo.service"));
    }
}

TEST_F(UserServiceManagerTest, SwitchingOffStopsItAndRemovesItsUnit) {
    (void)manager.enable("/opt/tavo/bin/tavoctl");
    link();
    runner->log->clear();
    EXPECT_TRUE(manager.disable());
    EXPECT_THAT(*runner->log, ElementsAre(asksForUnits, asksWhetherEnabled, call("disable --now tavo.service"),
                                          call("daemon-reload")));
    EXPECT_FALSE(std::filesystem::exists(unit));
}

TEST_F(UserServiceManagerTest, SwitchingOffWhatIsOffChangesNothing) {
    runner->results = {{}, notEnabled, {.standardOutput = "inactive"}};
    EXPECT_FALSE(manager.disable());
    EXPECT_THAT(*runner->log, ElementsAre(asksForUnits, asksWhetherEnabled, asksWhetherRunning));
}

TEST_F(UserServiceManagerTest, WhetherItIsEnabledIsTheManagersWord) {
    link();
    runner->results = {{}, notEnabled};
    EXPECT_FALSE(manager.isEnabled());
    std::filesystem::remove(wants);
    EXPECT_TRUE(manager.isEnabled());
    runner->log->clear();
    EXPECT_TRUE(manager.disable());
    EXPECT_THAT(*runner->log, Contains(call("disable --now tavo.service")));
}

TEST_F(UserServiceManagerTest, ARunThatWasStartedByHandIsStoppedToo) {
    for (const auto* const state : {"active", "activating", "reloading", "deactivating"}) {
        runner->results = {{}, notEnabled, {.standardOutput = state}};
        EXPECT_TRUE(manager.disable()) << state;
        EXPECT_THAT(*runner->log, Contains(call("disable --now tavo.service"))) << state;
        runner->log->clear();
    }
    runner->results = {{}, notEnabled, {.standardOutput = "failed"}};
    EXPECT_FALSE(manager.disable());
}

TEST_F(UserServiceManagerTest, WhereNoManagerAnswersTheLinkSaysWhetherItIsEnabled) {
    runner->results = {unreachable, unreachable};
    EXPECT_FALSE(manager.isEnabled());
    EXPECT_FALSE(manager.disable());
    link();
    runner->results = {unreachable, unreachable, unreachable};
    EXPECT_TRUE(manager.isEnabled());
    EXPECT_THAT(refusalOf([&] { manager.disable(); }), StartsWith("your service manager cannot be reached: "));
    runner->failure = std::make_exception_ptr(std::system_error(EAGAIN, std::generic_category(), "fork"));
    EXPECT_TRUE(manager.isEnabled());
}

TEST_F(UserServiceManagerTest, TheUnitLiesWhereTheManagerLooksForIt) {
    const auto theirs = folder.path() / "the manager's/.config/systemd/user";
    const auto searchPath = theirs.string() + ".control /run/user/1000/systemd/user.control " + theirs.string() +
                            " /etc/systemd/user /usr/lib/systemd/user";
    runner->results = {{.standardOutput = searchPath}};
    (void)manager.enable("/opt/tavo/bin/tavoctl");
    EXPECT_FALSE(std::filesystem::exists(unit));
    EXPECT_TRUE(std::filesystem::exists(theirs / "tavo.service"));
    runner->results = {{.standardOutput = searchPath}, notEnabled};
    EXPECT_TRUE(manager.disable());
    EXPECT_FALSE(std::filesystem::exists(theirs / "tavo.service"));
}

/// The environment of a process for as long as this lives.
class ConfigHome {
public:
    explicit ConfigHome(const char* value) { setenv(name, value, 1); }
    ~ConfigHome() { kept ? setenv(name, kept->c_str(), 1) : unsetenv(name); }
    ConfigHome(const ConfigHome&) = delete;
    ConfigHome& operator=(const ConfigHome&) = delete;

private:
    static constexpr const char* name = "XDG_CONFIG_HOME";
    std::optional<std::string> kept = std::getenv(name) == nullptr ? std::nullopt : std::optional(std::getenv(name));
};

TEST_F(UserServiceManagerTest, AServiceThatReadsAnotherFolderIsKnownByItsEnvironment) {
    const ConfigHome home("/home/ann/cfg");
    UserServiceManager annsManager({.ownUnits = folder.path(), .user = 1000}, runner);
    const auto pathsWith = [&](const std::string& environment) {
        runner->results = {{}, {.standardOutput = environment}};
        return annsManager.pathsOfRun();
    };
    EXPECT_EQ(pathsWith("HOME=/home/ann\nUSER=ann"), (TavoPaths{"/home/ann/.config/Tavo"}));
    EXPECT_EQ(runner->log->back(), call("show-environment"));
    EXPECT_EQ(pathsWith("HOME=/home/ann\nXDG_CONFIG_HOME=/home/ann/other"), (TavoPaths{"/home/ann/other/Tavo"}));
    EXPECT_EQ(pathsWith("HOME=/home/ann\nXDG_CONFIG_HOME=relative"), (TavoPaths{"/home/ann/.config/Tavo"}));
    EXPECT_EQ(pathsWith("XDG_CONFIG_HOME=/home/ann/cfg\nHOME=/home/ann"), std::nullopt);
    EXPECT_EQ(pathsWith(""), std::nullopt);
    runner->results = {unreachable};
    EXPECT_EQ(annsManager.pathsOfRun(), std::nullopt);
    UserServiceManager rootsManager({.ownUnits = folder.path(), .user = 0}, runner);
    EXPECT_EQ(rootsManager.pathsOfRun(), std::nullopt);
}

TEST_F(UserServiceManagerTest, OneFolderUnderTwoNamesIsNoOther) {
    std::filesystem::create_directories(folder.path() / "cfg/Tavo");
    std::filesystem::create_directory_symlink("cfg", folder.path() / "link");
    const ConfigHome home((folder.path() / "cfg").c_str());
    UserServiceManager annsManager({.ownUnits = folder.path(), .user = 1000}, runner);
    runner->results = {{}, {.standardOutput = "XDG_CONFIG_HOME=" + (folder.path() / "link").string()}};
    EXPECT_EQ(annsManager.pathsOfRun(), std::nullopt);
}

TEST_F(UserServiceManagerTest, TheManagersEnvironmentIsReadAsSystemctlQuotesIt) {
    const std::string environment = "AXDG_CONFIG_HOME=/wrong\nXDG_CONFIG_HOME=$'/home/a b\\'\\\\c'\nLAST=$'a\\nb'";
    EXPECT_EQ(UserServiceManager::valueIn(environment, "XDG_CONFIG_HOME"), "/home/a b'\\c");
    EXPECT_EQ(UserServiceManager::valueIn(environment, "CONFIG_HOME"), std::nullopt);
    EXPECT_EQ(UserServiceManager::valueIn(environment, "LAST"), std::nullopt);
    EXPECT_EQ(UserServiceManager::valueIn("EMPTY=", "EMPTY"), "");
    EXPECT_EQ(UserServiceManager::valueIn("", "HOME"), std::nullopt);
}

TEST_F(UserServiceManagerTest, LingeringIsAdvisedWhereItIsOff) {
    const auto adviceAfter = [&](const ShellCommandResult& result) {
        runner->results = {result};
        return manager.logoutAdvice();
    };
    EXPECT_THAT(adviceAfter({.standardOutput = "no"}).value(), HasSubstr("loginctl enable-linger"));
    EXPECT_EQ(runner->log->back(),
              "run /usr/bin/loginctl show-user " + std::to_string(getuid()) + " --property=Linger --value");
    EXPECT_EQ(adviceAfter({.standardOutput = "yes"}), std::nullopt);
    EXPECT_EQ(adviceAfter({.exitCode = 1, .standardError = "not logged in"}), std::nullopt);
    runner->failure = std::make_exception_ptr(std::system_error(ENOENT, std::generic_category(), "loginctl"));
    EXPECT_EQ(manager.logoutAdvice(), std::nullopt);
}

TEST_F(UserServiceManagerTest, TheUsersUnitsLieBesideTheFolderOfTheConfiguration) {
    const ConfigHome home("/some/where");
    const auto units = UserServiceLayout().userUnits();
    // Root's are those of root's account, whatever the environment says.
    EXPECT_EQ(units, geteuid() == 0 ? std::filesystem::path(getpwuid(0)->pw_dir) / ".config/systemd/user"
                                    : std::filesystem::path("/some/where/systemd/user"));
}

} // namespace
} // namespace tavo
