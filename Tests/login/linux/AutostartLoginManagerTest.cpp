#include "login/linux/AutostartLoginManager.h"

#include "Support/TemporaryDirectory.h"
#include "Support/WaitUntil.h"
#include "base/AtomicFile.h"
#include "system/SystemCommandRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace tavo {
namespace {

class Autostart : public testing::Test {
protected:
    static ShellCommandResult run(const std::filesystem::path& program, std::vector<std::string> arguments) {
        return SystemCommandRunner().run({.executableURL = program, .arguments = std::move(arguments)});
    }

    void writeEntry(const std::string& lines) const {
        std::filesystem::create_directories(manager.entry().parent_path());
        replaceFileAtomically(manager.entry(), "[Desktop Entry]\nType=Application\nName=Tavo\nExec=tavo\n" + lines);
    }

    TemporaryDirectory folder;
    AutostartLoginManager manager{folder.path() / "config/autostart"};
};

TEST_F(Autostart, IsOnWithTheEntryAndOffWithoutIt) {
    EXPECT_FALSE(manager.isEnabled());
    EXPECT_FALSE(manager.enable("/usr/bin/tavo", {})) << "something is left to do";
    EXPECT_TRUE(manager.isEnabled());
    manager.disable();
    EXPECT_FALSE(manager.isEnabled());
    EXPECT_FALSE(std::filesystem::exists(manager.entry()));
    EXPECT_NO_THROW(manager.disable());
}

TEST_F(Autostart, TheEntryStartsTheAppWithItsOptions) {
    EXPECT_FALSE(manager.enable("/usr/bin/tavo", {"--while-working", "--busy", "2.5"})) << "something is left to do";
    EXPECT_THAT(readWholeFile(manager.entry()),
                testing::HasSubstr("Exec=\"/usr/bin/tavo\" \"--hidden\" \"--while-working\" \"--busy\" \"2.5\"\n"));
}

TEST_F(Autostart, AnEntryOfEarlierTimesCountsAndIsWrittenAnew) {
    writeEntry("X-GNOME-Autostart-enabled=true\n");
    EXPECT_TRUE(manager.isEnabled());
    EXPECT_FALSE(manager.enable("/usr/bin/tavo", {})) << "something is left to do";
    EXPECT_THAT(readWholeFile(manager.entry()), testing::HasSubstr("Exec=\"/usr/bin/tavo\" \"--hidden\"\n"));
}

TEST_F(Autostart, AnEntryThatWasSwitchedOffElsewhereIsOff) {
    writeEntry("");
    EXPECT_TRUE(manager.isEnabled());
    writeEntry("Hidden=true\n");
    EXPECT_FALSE(manager.isEnabled());
    writeEntry("X-GNOME-Autostart-enabled=false\n");
    EXPECT_FALSE(manager.isEnabled());
    EXPECT_FALSE(manager.enable("/usr/bin/tavo", {})) << "something is left to do";
    EXPECT_TRUE(manager.isEnabled());
}

TEST_F(Autostart, APathThatAnEntryCannotCarryChangesNothing) {
    EXPECT_FALSE(manager.enable("/usr/bin/tavo", {})) << "something is left to do";
    const auto before = readWholeFile(manager.entry());
    EXPECT_THROW((void)manager.enable("/a\nExec=reboot", {}), LoginLaunchManagerError);
    EXPECT_EQ(readWholeFile(manager.entry()), before);
}

TEST_F(Autostart, TheFolderIsThatOfTheBaseDirectories) {
    const char* const before = std::getenv("XDG_CONFIG_HOME");
    const std::string saved = before == nullptr ? "" : before;
    setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    const auto entry = AutostartLoginManager().entry();
    if (geteuid() == 0) {
        EXPECT_NE(entry, folder.path() / "autostart/com.vrd.tavo.desktop") << "root's folder is its account's";
    } else {
        EXPECT_EQ(entry, folder.path() / "autostart/com.vrd.tavo.desktop");
    }
    setenv("XDG_CONFIG_HOME", "relative", 1);
    EXPECT_TRUE(AutostartLoginManager().entry().string().ends_with("/.config/autostart/com.vrd.tavo.desktop"));
    before == nullptr ? unsetenv("XDG_CONFIG_HOME") : setenv("XDG_CONFIG_HOME", saved.c_str(), 1);
}

/// The validator and the launcher are the desktop's own; both come with the packages that the tests need.
TEST_F(Autostart, WhateverThePathTheEntryIsValidAndStartsThatProgram) {
    for (const std::string name : {"plain", "a b", "it's", "\"q\"", "100%", "%f %U", "$HOME", "`id`", "a\\b", "a\\\\",
                                   "é ü 日本", "a;b&c|d<e>f(g)*?#~", "--hidden", "x=y"}) {
        const auto program =
            folder.write("programs/" + name + "/tavo",
                         "#!/bin/sh\nprintf '%s|%s\\n' \"$0\" \"$*\" >\"$(dirname \"$0\")/started\"\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        EXPECT_FALSE(manager.enable(program, {})) << "something is left to do";

        const auto verdict = run("/usr/bin/desktop-file-validate", {manager.entry().string()});
        EXPECT_EQ(verdict.exitCode, 0) << verdict.standardOutput;

        const auto launched = run("/usr/bin/gio", {"launch", manager.entry().string()});
        EXPECT_EQ(launched.exitCode, 0) << name << ": " << launched.standardError;
        const auto mark = program.parent_path() / "started";
        ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(mark) && !readWholeFile(mark).empty(); })) << name;
        EXPECT_EQ(readWholeFile(mark), program.string() + "|--hidden\n");
    }
}

TEST(DesktopExec, IsOneQuotedArgument) {
    EXPECT_EQ(desktopExecValue("/usr/bin/tavo"), R"("/usr/bin/tavo")");
    EXPECT_EQ(desktopExecValue("/a b/tavo"), R"("/a b/tavo")");
    EXPECT_EQ(desktopExecValue("/it's/é/tavo"), R"("/it's/é/tavo")");
}

TEST(DesktopExec, ArgumentsAreQuotedAsThePathIs) {
    EXPECT_EQ(desktopExecValue("/usr/bin/tavo", {"--hidden", "a $b"}), R"("/usr/bin/tavo" "--hidden" "a \\$b")");
}

TEST(DesktopExec, ReservedCharactersAreEscapedTwiceOver) {
    EXPECT_EQ(desktopExecValue(R"(/"q"/tavo)"), R"("/\\"q\\"/tavo")");
    EXPECT_EQ(desktopExecValue("/`b`/tavo"), R"("/\\`b\\`/tavo")");
    EXPECT_EQ(desktopExecValue("/$HOME/tavo"), R"("/\\$HOME/tavo")");
    EXPECT_EQ(desktopExecValue(R"(/a\b/tavo)"), R"("/a\\\\b/tavo")");
}

TEST(DesktopExec, WhatMayNotBeInTheFirstWordIsInAnother) {
    EXPECT_EQ(desktopExecValue("/100%/%f/tavo"), R"x(/bin/sh -c "exec \\"\\$0\\" \\"\\$@\\"" "/100%%/%%f/tavo")x");
    EXPECT_EQ(desktopExecValue("/x=y/tavo", {"--hidden"}),
              R"x(/bin/sh -c "exec \\"\\$0\\" \\"\\$@\\"" "/x=y/tavo" "--hidden")x");
}

/// Desktops refuse an entry with such a line, and it would be "on" without any effect.
TEST(DesktopExec, CannotCarryWhatIsNoText) {
    EXPECT_FALSE(desktopExecValue("/a\xFF/tavo"));
    EXPECT_TRUE(desktopExecValue("/\xC3\xA9/tavo"));
}

TEST(DesktopExec, CannotCarryControlCharactersOrNothing) {
    EXPECT_FALSE(desktopExecValue("/a\nb"));
    EXPECT_FALSE(desktopExecValue("/a\x7F"));
    EXPECT_FALSE(desktopExecValue(""));
}

TEST(DesktopEntry, ValuesAreThoseOfItsOwnGroup) {
    const auto* const text =
        "# Hidden=true\n[Other]\nHidden=true\n[Desktop Entry]\n Name = A b \nExec=x=y\n[Desktop Action z]\n"
        "Hidden=true\n";
    EXPECT_EQ(desktopEntryValue(text, "Name"), "A b");
    EXPECT_EQ(desktopEntryValue(text, "Exec"), "x=y");
    EXPECT_EQ(desktopEntryValue(text, "Hidden"), std::nullopt);
    EXPECT_EQ(desktopEntryValue("", "Hidden"), std::nullopt);
}

TEST(DesktopEntry, OfTwoValuesOfAKeyTheLastCounts) {
    EXPECT_EQ(desktopEntryValue("[Desktop Entry]\nHidden=true\nHidden=false\n", "Hidden"), "false");
}

TEST(DesktopEntry, OnlyALineFeedEndsALine) {
    EXPECT_EQ(desktopEntryValue("[Desktop Entry]\nName=a\u2028Hidden=true\n", "Hidden"), std::nullopt);
    EXPECT_EQ(desktopEntryValue("[Desktop Entry]\r\nHidden=true\r\n", "Hidden"), "true");
}

} // namespace
} // namespace tavo
