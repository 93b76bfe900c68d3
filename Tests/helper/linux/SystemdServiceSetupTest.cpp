#include "helper/linux/SystemdServiceSetup.h"

#include "Support/TemporaryDirectory.h"
#include "base/AtomicFile.h"
#include "helper/PrivilegedHelperInstaller.h"
#include "helper/linux/FileDigest.h"
#include "system/CommandRunning.h"
#include "system/SystemCommandRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace tavo {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// Sets an environment variable, or takes it away, while it lives.
class Variable {
public:
    Variable(const char* name, const char* value) : name(name) {
        if (const char* text = std::getenv(name)) {
            before = text;
        }
        set(value);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { set(before ? before->c_str() : nullptr); }

private:
    void set(const char* value) const { value == nullptr ? unsetenv(name) : setenv(name, value, 1); }

    const char* name;
    std::optional<std::string> before;
};

/// Runs the scripts in a real shell, over folders and a service manager of the test's own.
class SystemdSetup : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(layout.systemdMark);
        standIn("systemctl", "echo \"systemctl $*\" >>\"" + calls.string() + "\"\n" + noRemoval);
        standIn("stat", "for path; do :; done\n"
                        "case $path in\n"
                        "    " +
                            shellQuoted(root.string()) + " | " + shellQuoted(root.string()) +
                            "/*)\n"
                            "        answer=$(/usr/bin/stat \"$@\")\n"
                            "        [ \"${answer%%:*}\" != " +
                            std::to_string(geteuid()) +
                            " ] || answer=0:${answer#*:}\n"
                            "        echo \"$answer\" ;;\n"
                            "    *) echo 0:drwxr-xr-x ;;\n"
                            "esac");
        // Only root may give files away.
        if (geteuid() != 0) {
            standIn("chown", "exit 0");
        }
        replaceFileAtomically(staged, setup().serviceDefinitionContent());
    }

    SystemdServiceSetup setup() const { return SystemdServiceSetup(layout); }

    void standIn(const std::string& program, const std::string& body) const {
        const auto file = folder.write("programs/" + program, "#!/bin/sh\n" + body + "\n");
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    }

    static ShellCommandResult runScript(const std::string& script) {
        return SystemCommandRunner().run({.executableURL = "/bin/sh", .arguments = {"-c", script}});
    }

    ShellCommandResult install() const { return runScript(setup().installScript(source, staged)); }

    std::string called() const { return std::filesystem::exists(calls) ? readWholeFile(calls) : ""; }

    /// A refusal that names `folder`, and nothing installed.
    void expectRefusal(const std::string& words) const {
        const auto result = install();
        EXPECT_EQ(result.exitCode, 1) << words;
        EXPECT_THAT(result.standardError, HasSubstr(words));
        std::error_code ignored; // what lies behind a link in a circle is not there
        EXPECT_FALSE(std::filesystem::exists(layout.helperExecutable, ignored));
        EXPECT_FALSE(std::filesystem::exists(layout.unitFile, ignored));
        EXPECT_EQ(called(), "");
    }

    /// Files and folders below a folder, hidden ones too.
    static std::size_t entriesOf(const std::filesystem::path& where) {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(where), {}));
    }

    /// Of systemctl: no removal of the helper's is under way.
    static constexpr const char* noRemoval = "[ \"$1\" != is-active ] || exit 3";

    TemporaryDirectory folder;
    std::filesystem::path root = folder.path() / "the 'root' $HOME `x` \"é\"";
    std::filesystem::path calls = folder.path() / "calls";
    SystemdHelperLayout layout{.helperExecutable = root / "libexec/TavoPrivilegedHelper",
                               .unitFile = root / "system/com.vrd.tavo.helper.service",
                               .lidDropIn = root / "logind.conf.d/zzz.conf",
                               .packagedSocketUnit = root / "lib/com.vrd.tavo.helper.socket",
                               .grant = root / "system/com.vrd.tavo.helper.socket.d/grant.conf",
                               .systemdMark = folder.path() / "booted",
                               .searchPath = (folder.path() / "programs").string() + ":/usr/bin:/bin"};
    std::filesystem::path source = folder.write("it's a build/TavoPrivilegedHelper", "program\n");
    std::filesystem::path staged = folder.path() / "staged.service";
    Variable pkexecUser{"PKEXEC_UID", nullptr};
    Variable sudoUser{"SUDO_UID", nullptr};
};

TEST_F(SystemdSetup, HasItsPlacesInTheSystem) {
    const SystemdServiceSetup system;
    EXPECT_EQ(system.helperExecutable(), "/usr/local/libexec/TavoPrivilegedHelper");
    EXPECT_EQ(system.serviceDefinition(), "/etc/systemd/system/com.vrd.tavo.helper.service");
    EXPECT_THAT(system.serviceDefinitionContent(),
                HasSubstr("ExecStart=\"/usr/local/libexec/TavoPrivilegedHelper\" --user @installingUser@\n"));
    EXPECT_THAT(system.serviceDefinitionContent(),
                HasSubstr("ExecStopPost=\"/usr/local/libexec/TavoPrivilegedHelper\" --after-stop\n"));
}

TEST_F(SystemdSetup, PutsBothFilesIntoPlaceAndStartsTheService) {
    const auto result = install();
    ASSERT_EQ(result.exitCode, 0) << result.standardError;
    EXPECT_EQ(readWholeFile(layout.helperExecutable), "program\n");
    struct stat status {};
    ASSERT_EQ(stat(layout.helperExecutable.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0755U);
    ASSERT_EQ(stat(layout.unitFile.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
    ASSERT_EQ(stat(layout.unitFile.parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0755U);
    EXPECT_THAT(called(), testing::EndsWith("systemctl daemon-reload\n"
                                            "systemctl --quiet enable com.vrd.tavo.helper.service\n"
                                            "systemctl restart com.vrd.tavo.helper.service\n"));
    EXPECT_EQ(entriesOf(layout.helperExecutable.parent_path()), 1U) << "no temporary file is left";
    EXPECT_EQ(entriesOf(layout.unitFile.parent_path()), 1U);
}

TEST_F(SystemdSetup, EndsTheGrantOfAPackagesHelperOnceTheUnitIsItsOwn) {
    std::filesystem::create_directories(layout.grant.parent_path());
    replaceFileAtomically(layout.grant, "[Socket]\n");
    const auto result = install();
    ASSERT_EQ(result.exitCode, 0) << result.standardError;
    EXPECT_FALSE(std::filesystem::exists(layout.grant.parent_path()));
    EXPECT_THAT(called(), testing::EndsWith("systemctl daemon-reload\n"
                                            "systemctl --quiet disable --now com.vrd.tavo.helper.socket\n"
                                            "systemctl --quiet enable com.vrd.tavo.helper.service\n"
                                            "systemctl restart com.vrd.tavo.helper.service\n"));
}

TEST_F(SystemdSetup, APackagesSocketThatSomebodyHasEnabledWithoutAGrantEndsToo) {
    std::filesystem::create_directories(layout.packagedSocketUnit.parent_path());
    replaceFileAtomically(layout.packagedSocketUnit, "[Socket]\n");
    standIn("systemctl",
            "echo \"systemctl $*\" >>\"" + calls.string() + "\"\n" + noRemoval + "\n[ \"$2\" != disable ] || exit 1");
    EXPECT_EQ(install().exitCode, 0) << "though it was not enabled";
    EXPECT_THAT(called(), HasSubstr("disable --now com.vrd.tavo.helper.socket\n"));
    EXPECT_TRUE(std::filesystem::exists(layout.packagedSocketUnit)) << "the package's own file";
}

TEST_F(SystemdSetup, TheInstalledUnitSaysWhomItServesAndIsItsOwn) {
    const Variable user("PKEXEC_UID", "1000");
    ASSERT_EQ(install().exitCode, 0);
    const auto unit = readWholeFile(layout.unitFile);
    EXPECT_EQ(setup().servedUser(unit), 1000U);
    EXPECT_TRUE(setup().isOwnDefinition(unit));
    EXPECT_FALSE(setup().isOwnDefinition(unit + "Restart=no\n"));
    EXPECT_FALSE(setup().isOwnDefinition(setup().serviceDefinitionContent())) << "it names nobody";
    for (const auto* content :
         {"", " --user ", " --user x\n", " --user 1000", " --user 4294967295\n", " --user 1 2\n"}) {
        EXPECT_EQ(setup().servedUser(content), std::nullopt) << content;
    }
}

TEST_F(SystemdSetup, TheServiceIsForTheUserWhoGaveTheApproval) {
    struct Row {
        const char* pkexec;
        const char* sudo;
        const char* served;
    };
    for (const auto& row : {Row{"1000", nullptr, "1000"}, Row{nullptr, "1001", "1001"}, Row{"1000", "1001", "1000"},
                            Row{nullptr, nullptr, "0"}, Row{"", "", "0"}}) {
        const Variable pkexec("PKEXEC_UID", row.pkexec);
        const Variable sudo("SUDO_UID", row.sudo);
        ASSERT_EQ(install().exitCode, 0);
        EXPECT_THAT(readWholeFile(layout.unitFile), HasSubstr(std::string(" --user ") + row.served + "\n"));
        EXPECT_THAT(readWholeFile(layout.unitFile), testing::Not(HasSubstr("@installingUser@")));
    }
}

TEST_F(SystemdSetup, AUserWhoIsNoNumberInstallsNothing) {
    for (const auto* user : {"me", "1000 --reset", "-1", "1;reboot"}) {
        const Variable pkexec("PKEXEC_UID", user);
        const auto result = install();
        EXPECT_EQ(result.exitCode, 1) << user;
        EXPECT_THAT(result.standardError, HasSubstr("is no user id"));
        EXPECT_FALSE(std::filesystem::exists(layout.helperExecutable));
        EXPECT_EQ(called(), "");
    }
}

TEST_F(SystemdSetup, AFileThatChangedMeanwhileIsNotInstalled) {
    const auto script = setup().installScript(source, staged);
    for (const auto& changed : {source, staged}) {
        const auto before = readWholeFile(changed);
        replaceFileAtomically(changed, before + " ");
        const auto result = runScript(script);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.standardError, StartsWith(changed.string() + " has changed"));
        EXPECT_FALSE(std::filesystem::exists(layout.helperExecutable));
        EXPECT_FALSE(std::filesystem::exists(layout.unitFile));
        EXPECT_EQ(entriesOf(layout.helperExecutable.parent_path()), 0U);
        EXPECT_EQ(entriesOf(layout.unitFile.parent_path()), 0U);
        EXPECT_EQ(called(), "");
        replaceFileAtomically(changed, before);
    }
}

TEST_F(SystemdSetup, AStagedUnitOfSomebodyElsesIsNotInstalled) {
    replaceFileAtomically(staged, "[Service]\nExecStart=/bin/sh\n");
    EXPECT_EQ(install().exitCode, 1);
    EXPECT_FALSE(std::filesystem::exists(layout.unitFile));
}

TEST_F(SystemdSetup, AFailingServiceManagerFailsTheInstallationInItsOwnWords) {
    standIn("systemctl", "case $1 in restart) echo 'Job failed.' >&2; exit 1;; is-active) exit 3;; esac");
    const auto result = install();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.standardError, "Job failed.");
}

TEST_F(SystemdSetup, RelabelsWhereTheSystemHasLabels) {
    standIn("restorecon", "echo \"restorecon $*\" >>\"" + calls.string() + "\"");
    ASSERT_EQ(install().exitCode, 0);
    EXPECT_THAT(called(), HasSubstr("restorecon " + layout.helperExecutable.string() + " " + layout.unitFile.string()));
}

TEST_F(SystemdSetup, RemovalEndsTheServiceAndRemovesBothFilesAlone) {
    ASSERT_EQ(install().exitCode, 0);
    folder.write("the 'root' $HOME `x` \"é\"/system/other.service", "");
    std::filesystem::remove(calls);
    EXPECT_EQ(runScript(setup().uninstallScript()).exitCode, 0);
    EXPECT_FALSE(std::filesystem::exists(layout.helperExecutable));
    EXPECT_FALSE(std::filesystem::exists(layout.unitFile));
    EXPECT_TRUE(std::filesystem::exists(root / "system/other.service"));
    EXPECT_EQ(called(), "systemctl disable --now com.vrd.tavo.helper.service\n"
                        "systemctl daemon-reload\n"
                        "systemctl reset-failed com.vrd.tavo.helper.service\n");
}

TEST_F(SystemdSetup, RemovalUndoesWhatAHelperThatCannotRunHasLeft) {
    ASSERT_EQ(install().exitCode, 0);
    std::filesystem::create_directories(layout.lidDropIn.parent_path());
    replaceFileAtomically(layout.lidDropIn, "[Login]\nHandleLidSwitch=ignore\n");
    std::filesystem::remove(calls);
    EXPECT_EQ(runScript(setup().uninstallScript()).exitCode, 0);
    EXPECT_FALSE(std::filesystem::exists(layout.lidDropIn));
    EXPECT_THAT(called(), HasSubstr("systemctl disable --now com.vrd.tavo.helper.service\n"
                                    "systemctl kill --signal=HUP systemd-logind.service\n"));
}

TEST_F(SystemdSetup, RemovalGoesOnWhereTheServiceIsNotKnown) {
    ASSERT_EQ(install().exitCode, 0);
    standIn("systemctl", "case $1 in disable|reset-failed) exit 1;; esac");
    EXPECT_EQ(runScript(setup().uninstallScript()).exitCode, 0);
    EXPECT_FALSE(std::filesystem::exists(layout.unitFile));
}

TEST_F(SystemdSetup, TheDeferredRemovalRunsInAUnitOfItsOwnAndSleepsFirst) {
    const auto command = setup().deferredUninstallCommand(7);
    EXPECT_THAT(command.arguments,
                testing::IsSupersetOf({"--collect", "--no-block", "--unit=com.vrd.tavo.helper-removal.service",
                                       "--property=RuntimeMaxSec=90"}));
    EXPECT_FALSE(command.requiresPrivilege);
    const auto& script = command.arguments.back();
    EXPECT_THAT(script, StartsWith("sleep 7\nset -e\n"));
    EXPECT_THAT(setup().deferredUninstallCommand(0).arguments.back(), StartsWith("sleep 0\n"));

    ASSERT_EQ(install().exitCode, 0);
    standIn("sleep", "echo \"sleep $*\" >>\"" + calls.string() + "\"");
    const Variable path("PATH", layout.searchPath.c_str());
    EXPECT_EQ(runScript(script).exitCode, 0);
    EXPECT_THAT(called(), HasSubstr("sleep 7\nsystemctl disable --now"));
    EXPECT_FALSE(std::filesystem::exists(layout.helperExecutable));
}

TEST_F(SystemdSetup, ADeferredRemovalIsStartedUnderOneNameAndOnceAtATime) {
    standIn("systemd-run", "echo systemd-run >>\"" + calls.string() + "\"");
    const Variable path("PATH", layout.searchPath.c_str());
    const auto command = setup().deferredUninstallCommand(1);
    EXPECT_EQ(SystemCommandRunner().run(command).exitCode, 0);
    EXPECT_THAT(called(), testing::EndsWith("systemd-run\n"));
    standIn("systemctl", "exit 0"); // it is active
    std::filesystem::remove(calls);
    EXPECT_EQ(SystemCommandRunner().run(command).exitCode, 0);
    EXPECT_EQ(called(), "");
}

TEST_F(SystemdSetup, AnInstallationEndsARemovalThatIsUnderWay) {
    ASSERT_EQ(install().exitCode, 0);
    EXPECT_THAT(called(), StartsWith("systemctl stop com.vrd.tavo.helper-removal.service\n"));
}

TEST_F(SystemdSetup, AnInstallationThatCannotEndARemovalSaysSo) {
    standIn("systemctl", "exit 0");
    expectRefusal("a removal of the helper is under way");
}

TEST_F(SystemdSetup, AFolderThatOthersMayWriteToIsRefusedAtEveryLevel) {
    std::filesystem::create_directories(layout.helperExecutable.parent_path());
    std::filesystem::create_directories(layout.unitFile.parent_path());
    using std::filesystem::perms;
    for (const auto& open : {root, layout.helperExecutable.parent_path(), layout.unitFile.parent_path()}) {
        for (const auto whose : {perms::group_write, perms::others_write, perms::others_write | perms::sticky_bit}) {
            std::filesystem::permissions(open, whose, std::filesystem::perm_options::add);
            expectRefusal("may write to " + open.string() + ",");
            std::filesystem::permissions(open, whose, std::filesystem::perm_options::remove);
        }
    }
    EXPECT_EQ(install().exitCode, 0);
}

TEST_F(SystemdSetup, AFolderOfAnotherUsersIsRefused) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may give folders away";
    }
    std::filesystem::create_directories(layout.helperExecutable.parent_path());
    ASSERT_EQ(chown(root.c_str(), 1000, 0), 0);
    expectRefusal("may write to " + root.string() + ",");
}

TEST_F(SystemdSetup, ALinkIsFollowedToFoldersThatRootAloneMayWriteTo) {
    std::filesystem::create_directories(root / "elsewhere/deep");
    for (const auto& target : {std::filesystem::path("elsewhere/deep/"), root / "elsewhere/deep"}) {
        std::filesystem::remove(root / "libexec");
        std::filesystem::create_symlink(target, root / "libexec");
        std::filesystem::permissions(root / "elsewhere", std::filesystem::perms::others_write,
                                     std::filesystem::perm_options::add);
        expectRefusal("may write to " + (root / "elsewhere").string() + ",");
        std::filesystem::permissions(root / "elsewhere", std::filesystem::perms::others_write,
                                     std::filesystem::perm_options::remove);
        EXPECT_EQ(install().exitCode, 0);
        std::filesystem::remove(root / "elsewhere/deep/TavoPrivilegedHelper");
        std::filesystem::remove(layout.unitFile);
        std::filesystem::remove(calls);
    }
    std::filesystem::remove(root / "libexec");
    std::filesystem::create_symlink("nowhere", root / "libexec");
    expectRefusal("is a link that leads nowhere");
    std::filesystem::remove(root / "libexec");
    std::filesystem::create_symlink("libexec", root / "libexec");
    expectRefusal("is a link that leads nowhere");
}

TEST_F(SystemdSetup, APipeOrADeviceInTheSourcesPlaceIsRefusedAtOnce) {
    const auto script = setup().installScript(source, staged);
    const auto expectRefused = [&](const std::string& words) {
        const auto result = runScript(script);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.standardError, StartsWith(source.string() + words));
        EXPECT_EQ(entriesOf(layout.helperExecutable.parent_path()), 0U);
        EXPECT_EQ(called(), "");
        std::filesystem::remove(source);
    };
    std::filesystem::remove(source);
    ASSERT_EQ(mkfifo(source.c_str(), 0600), 0);
    expectRefused(" is no regular file");
    std::filesystem::create_symlink("/dev/zero", source);
    expectRefused(" is no regular file");
    // Put there between the look at it and the copying.
    standIn("timeout", "rm -f " + shellQuoted(source.string()) + "; mkfifo " + shellQuoted(source.string()) +
                           "; exec /usr/bin/timeout \"$@\"");
    folder.write("it's a build/TavoPrivilegedHelper", "program\n");
    expectRefused(" has changed");
    standIn("timeout", "ln -sf /dev/zero " + shellQuoted(source.string()) + "; exec /usr/bin/timeout \"$@\"");
    folder.write("it's a build/TavoPrivilegedHelper", "program\n");
    expectRefused(" has changed");
}

TEST_F(SystemdSetup, AnInstallationThatIsTerminatedLeavesNothingStaged) {
    for (const auto& [signal, status] : {std::pair{"HUP", 129}, std::pair{"INT", 130}, std::pair{"TERM", 143}}) {
        standIn("sha256sum", std::string("kill -s ") + signal + " $PPID");
        EXPECT_EQ(install().exitCode, status);
        EXPECT_EQ(entriesOf(layout.helperExecutable.parent_path()), 0U) << signal;
        EXPECT_EQ(entriesOf(layout.unitFile.parent_path()), 0U) << signal;
        EXPECT_EQ(called(), "");
    }
}

TEST_F(SystemdSetup, FilesOfAnInstallationThatWasKilledGoWithTheNext) {
    standIn("sha256sum", "kill -s KILL $PPID");
    EXPECT_NE(install().exitCode, 0);
    EXPECT_EQ(entriesOf(layout.helperExecutable.parent_path()), 1U);
    const auto ofOneUnderWay = layout.helperExecutable.parent_path() / (".tavo-install." + std::to_string(getpid()));
    replaceFileAtomically(ofOneUnderWay, "");
    std::filesystem::remove(folder.path() / "programs/sha256sum");
    ASSERT_EQ(install().exitCode, 0);
    EXPECT_TRUE(std::filesystem::exists(ofOneUnderWay));
    EXPECT_EQ(entriesOf(layout.helperExecutable.parent_path()), 2U);
    EXPECT_EQ(entriesOf(layout.unitFile.parent_path()), 1U);
}

TEST_F(SystemdSetup, WithoutSystemdThereIsNoScriptAndTheErrorSaysSo) {
    std::filesystem::remove(layout.systemdMark);
    for (const bool installs : {true, false}) {
        try {
            installs ? setup().installScript(source, staged) : setup().uninstallScript();
            FAIL() << "nothing was thrown";
        } catch (const PrivilegedHelperInstallerError& error) {
            EXPECT_THAT(error.description(), HasSubstr("systemd, which does not run this system"));
        }
    }
}

TEST_F(SystemdSetup, ASourceThatCannotBeReadIsAnError) {
    EXPECT_THROW(setup().installScript(folder.path() / "nothing", staged), std::system_error);
}

TEST_F(SystemdSetup, AnExecutableWithAnyNameIsOneWordOfTheUnit) {
    auto odd = layout;
    odd.helperExecutable = R"(/opt/a b/100%/$x/"q"\n/Helper)";
    EXPECT_THAT(SystemdServiceSetup(odd).serviceDefinitionContent(),
                HasSubstr(R"(ExecStart="/opt/a b/100%%/$$x/\"q\"\\n/Helper" --user)"));
}

TEST(FileDigest, IsTheOneOfTheStandard) {
    EXPECT_EQ(sha256(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(SystemdStaging, IsAFolderOfTheCallersOwnOutsideTheConfiguration) {
    const TemporaryDirectory folder;
    const TavoPaths paths{folder.path() / "Tavo"};
    const SystemdServiceSetup setup;
    const auto first = setup.makeStagingDirectory(paths);
    const auto second = setup.makeStagingDirectory(paths);
    EXPECT_NE(first, second);
    EXPECT_FALSE(std::filesystem::exists(paths.rootDirectory));
    for (const auto& staging : {first, second}) {
        EXPECT_TRUE(std::filesystem::is_empty(staging));
        EXPECT_EQ(std::filesystem::status(staging).permissions(), std::filesystem::perms::owner_all);
        std::filesystem::remove(staging);
    }
}

TEST(SystemdServiceSetup, AFolderInWhichNothingCanBeStagedIsNamed) {
    const TemporaryDirectory folder;
    const auto locked = folder.path() / "locked";
    std::filesystem::create_directory(locked);
    std::filesystem::permissions(locked, std::filesystem::perms(0555));
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
    const Variable temporary("TMPDIR", locked.c_str());
    const bool isRoot = geteuid() == 0; // who stages in /tmp, and writes everywhere
    ASSERT_TRUE(!isRoot || seteuid(65534) == 0);
    std::string message;
    try {
        SystemdServiceSetup().makeStagingDirectory(TavoPaths{folder.path() / "Tavo"});
    } catch (const std::system_error& error) {
        message = error.what();
    }
    ASSERT_TRUE(!isRoot || seteuid(0) == 0);
    EXPECT_THAT(message, StartsWith("could not make a folder in " + locked.string() + ": "));
}

} // namespace
} // namespace tavo
