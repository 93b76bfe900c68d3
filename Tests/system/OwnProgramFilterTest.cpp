#include "system/OwnProgramFilter.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tavo {
namespace {

constexpr std::int32_t noOwnPID = 99999;

struct FixedTable final : ProcessSnapshotProviding {
    ProcessSnapshot table;
    explicit FixedTable(ProcessSnapshot table) : table(std::move(table)) {}
    ProcessSnapshot snapshot(TimePoint at) override {
        table.capturedAt = at;
        return table;
    }
};

/// Filters the processes, checks that nothing but names and command lines changed, and gives the ids of the blanked
/// ones.
std::vector<std::int32_t> blanked(const std::vector<ProcessSample>& processes, std::int32_t ownPID = noOwnPID) {
    const TimePoint moment(std::chrono::seconds(77));
    OwnProgramFilter filter(std::make_shared<FixedTable>(ProcessSnapshot{.capturedAt = {}, .processes = processes}),
                            ownPID);
    const auto filtered = filter.snapshot(moment);
    EXPECT_EQ(filtered.capturedAt, moment);
    EXPECT_EQ(filtered.processes.size(), processes.size());
    std::vector<std::int32_t> ids;
    for (std::size_t index = 0; index < processes.size(); ++index) {
        auto expected = processes[index];
        if (filtered.processes[index].commandLine.empty()) {
            expected.executableName = {};
            expected.commandLine = {};
            ids.push_back(expected.pid);
        }
        EXPECT_EQ(filtered.processes[index], expected);
    }
    return ids;
}

using IDs = std::vector<std::int32_t>;

const ProcessSample firstProcess{1, 0, 3, "systemd", "/sbin/init"};
const ProcessSample terminal{10, 1, 5, "xterm", "xterm"};
const ProcessSample interactiveShell{11, 10, 1, "bash", "-bash"};

TEST(OwnProgramFilter, BlanksTavosOwnPrograms) {
    EXPECT_EQ(blanked({firstProcess,
                       {20, 1, 1, "tavo", "/usr/bin/tavo"},
                       {21, 20, 0, "tavo-inhibit", "/usr/libexec/tavo/tavo-inhibit -i"},
                       {22, 1, 0, "TavoPrivilegedHelper", "/usr/local/libexec/TavoPrivilegedHelper"},
                       {23, 1, 0, "tavoctl", "tavoctl run --command codex"}}),
              (IDs{20, 21, 22, 23}));
}

TEST(OwnProgramFilter, KnowsItsOwnLongNameWhereTheTableCutsIt) {
    EXPECT_EQ(blanked({{22, 1, 0, "TavoPrivilegedH", "x"}, {23, 1, 0, "TavoPrivilegedHe", "x"}}), (IDs{22, 23}));
    EXPECT_EQ(blanked({{24, 1, 0, "TavoPrivileged", "x"}, {25, 1, 0, "TavoPrivilegedHelpers", "x"}}), IDs{});
}

TEST(OwnProgramFilter, OtherProgramsStay) {
    EXPECT_EQ(blanked({firstProcess,
                       terminal,
                       interactiveShell,
                       {20, 11, 1, "codex", "codex --full-auto"},
                       {21, 11, 1, "vim", "vim tavoctl.cpp"},
                       {22, 11, 1, "Tavo", "Tavo"},
                       {23, 11, 1, "tavola", "tavola"}}),
              IDs{});
}

TEST(OwnProgramFilter, TheCallingProcessIsTavosWhateverItsName) {
    EXPECT_EQ(
        blanked({firstProcess, {20, 1, 0, "sh", "sh -c tavo-dev"}, {21, 20, 1, "tavo-dev", "./tavo-dev codex"}}, 21),
        (IDs{20, 21}));
}

TEST(OwnProgramFilter, SudoAboveIsBlankedAsOftenAsItStandsThere) {
    EXPECT_EQ(blanked({firstProcess,
                       interactiveShell,
                       {20, 11, 0, "sudo", "sudo tavoctl run --command codex"},
                       {21, 20, 0, "sudo", "sudo tavoctl run --command codex"},
                       {22, 21, 1, "tavoctl", "tavoctl run --command codex"}}),
              (IDs{20, 21, 22}));
}

TEST(OwnProgramFilter, AShellThatWasGivenTheCommandIsBlanked) {
    EXPECT_EQ(blanked({interactiveShell,
                       {20, 11, 0, "bash", "bash -c tavoctl run --command codex; true"},
                       {21, 20, 1, "tavoctl", "tavoctl run --command codex"}}),
              (IDs{20, 21}));
}

TEST(OwnProgramFilter, ScriptAndItsShellAreBlanked) {
    EXPECT_EQ(blanked({interactiveShell,
                       {20, 11, 0, "script", "script -c tavoctl run --command codex log.txt"},
                       {21, 20, 0, "sh", "sh -c tavoctl run --command codex"},
                       {22, 21, 1, "tavoctl", "tavoctl run --command codex"}}),
              (IDs{20, 21, 22}));
}

TEST(OwnProgramFilter, WatchAndItsShellAreBlanked) {
    EXPECT_EQ(blanked({interactiveShell,
                       {20, 11, 0, "watch", "watch tavoctl preset codex"},
                       {21, 20, 0, "sh", "sh -c tavoctl preset codex"},
                       {22, 21, 1, "tavoctl", "tavoctl preset codex"}}),
              (IDs{20, 21, 22}));
}

TEST(OwnProgramFilter, ATerminalThatWasGivenTheCommandIsBlankedAcrossAnInteractiveShell) {
    EXPECT_EQ(blanked({firstProcess,
                       {10, 1, 5, "xterm", "xterm -e /opt/tavo/bin/tavoctl run --command codex"},
                       {11, 10, 1, "zsh", "-zsh"},
                       {12, 11, 1, "tavoctl", "/opt/tavo/bin/tavoctl run --command codex"}}),
              (IDs{10, 12}));
}

TEST(OwnProgramFilter, AMultiplexersServerIsBlankedWhenItWasGivenTheCommand) {
    EXPECT_EQ(blanked({{10, 1, 5, "tmux: server", "tmux new -d tavoctl run --command codex"},
                       {12, 10, 1, "tavoctl", "tavoctl run --command codex"}}),
              (IDs{10, 12}));
}

TEST(OwnProgramFilter, ALoginShellsHyphenDoesNotHideTheShell) {
    EXPECT_EQ(blanked({{10, 1, 0, "sudo", "sudo -i tavoctl run --command codex"},
                       {11, 10, 0, "-bash", "-bash -c tavoctl run --command codex"},
                       {12, 11, 1, "tavoctl", "tavoctl run --command codex"}}),
              (IDs{10, 11, 12}));
}

TEST(OwnProgramFilter, AnAgentThatRunsTavoctlStillCounts) {
    EXPECT_EQ(blanked({interactiveShell,
                       {20, 11, 9, "claude", "claude --append-system-prompt use tavoctl"},
                       {21, 20, 0, "bash", "bash -c tavoctl status"},
                       {22, 21, 1, "tavoctl", "tavoctl status"}}),
              (IDs{21, 22}));
}

TEST(OwnProgramFilter, WrappersAboveAnAgentAreNotReached) {
    EXPECT_EQ(blanked({{20, 1, 0, "bash", "bash -c claude 'run tavoctl status'"},
                       {21, 20, 9, "claude", "claude run tavoctl status"},
                       {22, 21, 1, "tavoctl", "tavoctl status"}}),
              IDs{22});
}

TEST(OwnProgramFilter, AProgramFromTheSameShellStillCounts) {
    EXPECT_EQ(blanked({firstProcess,
                       terminal,
                       interactiveShell,
                       {20, 11, 9, "codex", "codex"},
                       {21, 11, 1, "tavoctl", "tavoctl run --command codex"}}),
              IDs{21});
    EXPECT_EQ(blanked({{20, 1, 0, "bash", "bash -c tavoctl run --command codex & codex"},
                       {21, 20, 1, "tavoctl", "tavoctl run --command codex"},
                       {22, 20, 9, "codex", "codex"}}),
              (IDs{20, 21}));
}

TEST(OwnProgramFilter, TheProgramMustBeNamedAsAWholeWord) {
    const std::map<std::string, bool> table{{"sh -c tavoctl", true},
                                            {"sh -c ./tavoctl run", true},
                                            {"sh -c 'tavoctl'", true},
                                            {"sh -c \"x;tavoctl;y\"", true},
                                            {"sh -c X=$(tavoctl status)", true},
                                            {"tavoctl", true},
                                            {"sh -c mytavoctl; tavoctl", true},
                                            {"sh -c mytavoctl", false},
                                            {"sh -c tavoctl2", false},
                                            {"sh -c tavoctl_x", false},
                                            {"sh -c my-tavoctl", false},
                                            {"sh -c tavoctl-wrapper codex", false},
                                            {"sh -c ätavoctl", false},
                                            {"sh -c Tavoctl", false},
                                            {"sh -c tavo", false},
                                            {"sh ./loop codex", false}};
    for (const auto& [commandLine, isBlanked] : table) {
        EXPECT_EQ(blanked({{20, 1, 0, "sh", commandLine}, {21, 20, 0, "tavoctl", "tavoctl"}}),
                  isBlanked ? (IDs{20, 21}) : IDs{21})
            << commandLine;
    }
}

TEST(OwnProgramFilter, AWrapperThatOnlyNamesTavoButDoesNotRunItStays) {
    EXPECT_EQ(blanked({{20, 1, 0, "bash", "bash -c grep tavoctl codex.log"}, {21, 20, 0, "grep", "grep tavoctl"}}),
              IDs{});
}

TEST(OwnProgramFilter, ThePSAndTheCaffeinateThatTavoRunsNeverCount) {
    EXPECT_EQ(
        blanked({{20, 1, 1, "tavo", "/Applications/Tavo.app/Contents/MacOS/tavo"},
                 {30, 20, 0, "ps", "/bin/ps -axwwc -o pid=PID,ppid=PPID,time=TIME,command=EXECUTABLE___,args=ARGS"},
                 {31, 20, 0, "caffeinate", "/usr/bin/caffeinate -i -s"}}),
        (IDs{20, 30, 31}));
}

TEST(OwnProgramFilter, NeitherDoThoseOfTheCallingProcessWhateverItsNameAndOfOtherTavos) {
    EXPECT_EQ(blanked({{20, 1, 1, "tavo-dev", "./tavo-dev"},
                       {30, 20, 0, "ps", "/bin/ps -o time"},
                       // stands before its parent
                       {33, 40, 0, "ps", "/bin/ps -o time"},
                       {40, 1, 1, "tavoctl", "tavoctl processes"}},
                      20),
              (IDs{20, 30, 33, 40}));
    EXPECT_EQ(blanked({{30, 20, 0, "ps", "/bin/ps -o time"}}, 20), IDs{30}) << "a parent that the table lacks";
}

TEST(OwnProgramFilter, ThePSOfSomebodyElseCounts) {
    EXPECT_EQ(blanked({interactiveShell,
                       {20, 11, 1, "tavoctl", "tavoctl run --command time"},
                       {30, 11, 0, "ps", "ps -o time"},
                       {31, 11, 0, "caffeinate", "caffeinate -t 60"},
                       {32, 20, 0, "pstree", "pstree"},
                       {33, 20, 0, "codex", "codex"}}),
              IDs{20});
}

TEST(OwnProgramFilter, OneWrapperMayCarryTwoOwnPrograms) {
    EXPECT_EQ(blanked({{20, 1, 0, "sudo", "sudo sh -c tavoctl run | tavo"},
                       {21, 20, 0, "sh", "sh -c tavoctl run | tavo"},
                       {22, 21, 0, "tavoctl", "tavoctl run"},
                       {23, 21, 0, "tavo", "tavo"}}),
              (IDs{20, 21, 22, 23}));
}

TEST(OwnProgramFilter, RingsOfParentsEnd) {
    EXPECT_EQ(blanked({{20, 21, 0, "sh", "sh -c tavoctl"}, {21, 20, 0, "sh", "sh"}, {22, 20, 0, "tavoctl", "tavoctl"}}),
              (IDs{20, 22}));
    EXPECT_EQ(blanked({{22, 22, 0, "tavoctl", "tavoctl"}}), IDs{22});
    EXPECT_EQ(blanked({{0, 0, 0, "sh", "sh tavo"}, {5, 0, 0, "tavo", "tavo"}}), (IDs{0, 5}));
}

TEST(OwnProgramFilter, AnEmptyTableStaysEmpty) {
    EXPECT_EQ(blanked({}, 1), IDs{});
}

TEST(OwnProgramFilter, TheDecoratedProvidersErrorsPass) {
    struct Failing final : ProcessSnapshotProviding {
        ProcessSnapshot snapshot(TimePoint /*at*/) override { throw std::runtime_error("no table"); }
    };
    OwnProgramFilter filter(std::make_shared<Failing>(), 1);
    EXPECT_THROW(filter.snapshot({}), std::runtime_error);
}

} // namespace
} // namespace tavo
