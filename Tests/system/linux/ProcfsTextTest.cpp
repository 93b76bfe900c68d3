#include "system/linux/ProcfsText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tavo {
namespace {

using namespace std::string_literals;

std::string statLine(const std::string& name) {
    return "42 (" + name + ") S 7 42 42 34816 42 4194304 2036 71264 0 7 150 25 113 32 20 0 1 0 3311 10375168 1152\n";
}

std::string commandLineOf(std::string_view cmdline) {
    std::string buffer = "of another process";
    return std::string(procfsCommandLine(cmdline, buffer));
}

std::string executableNameOf(std::string_view name, std::string_view cmdline) {
    std::string buffer = "of another process";
    return std::string(procfsExecutableName(name, cmdline, buffer));
}

TEST(ProcfsStat, HasIdParentAndTicks) {
    const auto line = statLine("bash");
    const auto stat = parseProcfsStat(line);
    ASSERT_TRUE(stat);
    EXPECT_EQ(*stat, (ProcfsStat{.pid = 42,
                                 .parentPID = 7,
                                 .state = 'S',
                                 .threadCount = 1,
                                 .userTicks = 150,
                                 .systemTicks = 25,
                                 .name = "bash"}));
}

TEST(ProcfsStat, TellsAZombieFromAProcessWhoseFirstThreadAloneHasExited) {
    struct Row {
        std::string state;
        std::string threads;
        bool hasEnded;
    };
    for (const auto& row : {Row{"Z", "1", true}, Row{"Z", "0", true}, Row{"Z", "2", false}, Row{"X", "0", true},
                            Row{"X", "2", true}, Row{"S", "1", false}, Row{"R", "0", false}, Row{"T", "1", false},
                            Row{"D", "1", false}, Row{"t", "1", false}, Row{"I", "1", false}}) {
        const auto line = "42 (Z) " + row.state + " 7 42 42 0 -1 4 0 0 0 0 150 25 113 32 20 0 " + row.threads + " 0 3 ";
        const auto stat = parseProcfsStat(line);
        ASSERT_TRUE(stat) << line;
        EXPECT_EQ(stat->hasEnded(), row.hasEnded) << line;
    }
}

TEST(ProcfsStat, AnyNameIsReadWhole) {
    for (const auto& name : {"a) R 1 (b"s, ") S 1 2 3 4"s, "tmux: server"s, "(sd-pam)"s, "a\nb"s, ""s, ")"s, "("s, " "s,
                             "\xC3\xA9t\xC3"s, "kworker/u8:2-events_unbound"s, "))) R 9 9 9 9"s}) {
        const auto line = statLine(name);
        const auto stat = parseProcfsStat(line);
        ASSERT_TRUE(stat) << name;
        EXPECT_EQ(stat->name, name);
        EXPECT_EQ(stat->parentPID, 7) << name;
        EXPECT_EQ(stat->userTicks, 150U) << name;
    }
}

TEST(ProcfsStat, TellsWhenTheProcessStartedWhateverItsName) {
    EXPECT_EQ(procfsStartTicks(statLine("bash")), 3311U);
    EXPECT_EQ(procfsStartTicks(statLine(") S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20")), 3311U);
    EXPECT_FALSE(procfsStartTicks(""));
    EXPECT_FALSE(procfsStartTicks("42 (bash) S 7"));
    const auto line = statLine("bash");
    EXPECT_FALSE(procfsStartTicks(line.substr(0, line.find(" 3311") + 5))) << "the number may go on";
}

TEST(ProcfsStat, ALineThatIsCutAnywhereBeforeTheLastFieldThatCountsIsNone) {
    const auto line = statLine("a) R 1 (b");
    const auto needed = line.find(" 20 0 1 0 ") + std::string(" 20 0 1 ").size();
    for (std::size_t length = 0; length < needed; ++length) {
        EXPECT_FALSE(parseProcfsStat(line.substr(0, length))) << line.substr(0, length);
    }
    EXPECT_TRUE(parseProcfsStat(line.substr(0, needed)));
}

TEST(ProcfsStat, GarbageIsNone) {
    const auto rest = " 0 0 20 0 1 0"s;
    for (const auto& text : {""s,
                             "\n"s,
                             "()"s,
                             "42 (x"s,
                             "42 x) S 7 "s,
                             ") S 7 1 1 1 1 1 1 1 1 1 1 150 25" + rest + " (x",
                             "x (x) S 7 1 1 1 1 1 1 1 1 1 150 25" + rest,
                             "0 (x) S 7 1 1 1 1 1 1 1 1 1 150 25" + rest,
                             "-4 (x) S 7 1 1 1 1 1 1 1 1 1 150 25" + rest,
                             "4 (x) SS 7 1 1 1 1 1 1 1 1 1 150 25" + rest,
                             "4 (x)  7 1 1 1 1 1 1 1 1 1 150 25" + rest,
                             "4 (x) S x 1 1 1 1 1 1 1 1 1 150 25" + rest,
                             "4 (x) S 7 1 1 1 1 1 1 1 1 1 x 25" + rest,
                             "4 (x) S 7 1 1 1 1 1 1 1 1 1 150 -25" + rest,
                             "4 (x) S 7 1 1 1 1 1 1 1 1 1 150 99999999999999999999" + rest,
                             "99999999999 (x) S 7 1 1 1 1 1 1 1 1 1 150 25" + rest,
                             "4 (x) S 7 1 1 1 1 1 1 1 1 1 150 25 0 0 20 0 x 0"s,
                             "4 (x) S 7 1 1 1 1 1 1 1 1 1 150 25 0 0 20 0 99999999999999999999 0"s,
                             std::string(1 << 16, '('),
                             std::string(1 << 16, ')'),
                             "\0\0\0"s}) {
        EXPECT_FALSE(parseProcfsStat(text)) << text.substr(0, 100);
    }
    EXPECT_TRUE(parseProcfsStat("4 (x) S 7 1 1 1 1 1 1 1 1 1 150 25" + rest)) << "the table's own frame is right";
}

TEST(ProcfsCommandLine, HasItsArgumentsJoinedBySingleSpaces) {
    const std::vector<std::pair<std::string, std::string>> table{
        {"", ""},
        {"codex\0"s, "codex"},
        {"/bin/sh\0-c\0echo  hi\0"s, "/bin/sh -c echo  hi"},
        {"a\0\0b\0"s, "a  b"},
        {"sshd: user [priv]\0\0\0\0"s, "sshd: user [priv]"},
        {"no end"s, "no end"},
        {"\0\0"s, ""},
        {"\0a\0"s, "a"},
        {" \t a \0"s, "a"},
        {"a\nb\0c\0"s, "a\nb c"},
        {"caf\xC3\0\xA9\0"s, "caf\uFFFD \uFFFD"},
        {"caf\xC3\xA9\0"s, "café"},
    };
    for (const auto& [cmdline, expected] : table) {
        EXPECT_EQ(commandLineOf(cmdline), expected);
    }
}

struct NameCase {
    std::string name;
    std::string cmdline;
    std::string expected;
};

TEST(ProcfsExecutableName, IsCompletedFromTheFirstArgumentWhereItWasCut) {
    const std::vector<NameCase> table{
        {"codex", "codex-long-name\0"s, "codex"},
        {"gnome-session-b", "/usr/libexec/gnome-session-binary\0--session=x\0"s, "gnome-session-binary"},
        {"gnome-session-b", "gnome-session-binary\0"s, "gnome-session-binary"},
        {"exactly-fifteen", "/bin/exactly-fifteen\0x\0"s, "exactly-fifteen"},
        {"some-script-nam", "/usr/bin/python3\0/opt/some-script-name.py\0"s, "some-script-nam"},
        {"gnome-session-b", "", "gnome-session-b"},
        {"gnome-session-b", "\0\0"s, "gnome-session-b"},
        {"gnome-session-b", "-gnome-session-binary\0"s, "gnome-session-b"},
        {"gnome-session-b", "/usr/gnome-session-binary/other\0"s, "gnome-session-b"},
        {"a-long-folder-n", "/opt/a-long-folder-name/a-long-folder-name\0-x\0"s, "a-long-folder-name"},
        {"kworker/0:1H-kblockd", "", "kworker/0:1H-kblockd"},
    };
    for (const auto& [name, cmdline, expected] : table) {
        EXPECT_EQ(executableNameOf(name, cmdline), expected);
    }
}

TEST(ProcfsExecutableName, MayHaveSpacesWhenTheArgumentsAreApart) {
    EXPECT_EQ(executableNameOf("My Long Program", "/opt/My Long Program Name\0--flag\0"s), "My Long Program Name");
    EXPECT_EQ(executableNameOf("My Long Program", "/opt/My Long Program\0"s), "My Long Program");
}

TEST(ProcfsExecutableName, EndsAtASpaceWhenTheProcessWroteOneTextOverItsArguments) {
    EXPECT_EQ(executableNameOf("long-program-na", "/opt/long-program-name --type=x --dir=/y/z\0\0\0"s),
              "long-program-name");
    EXPECT_EQ(executableNameOf("long-program-na", "/opt/long-program-name/long-program-name --x /y/z\0"s),
              "long-program-name");
    EXPECT_EQ(executableNameOf("long-program-na", "long-program-name: idle worker"s), "long-program-name:");
}

TEST(ProcfsExecutableName, IsValidUTF8EvenWhereItWasCutInsideACharacter) {
    const auto cut = "12345678901234\xC3"s; // the first byte of an é
    EXPECT_EQ(executableNameOf(cut, ""), "12345678901234\uFFFD");
    EXPECT_EQ(executableNameOf(cut, "/bin/12345678901234\xC3\xA9t\xC3\xA9\0x\0"s), "12345678901234été");
    EXPECT_EQ(executableNameOf("\xFF\xFE", ""), "\uFFFD\uFFFD");
}

TEST(ProcfsExecutableName, IsTrimmed) {
    EXPECT_EQ(executableNameOf(" \tx ", ""), "x");
    EXPECT_EQ(executableNameOf("a\nb", ""), "a\nb");
}

} // namespace
} // namespace tavo
