#include "system/linux/ProcfsProcessSnapshotProvider.h"

#include "Support/SpawnedProgram.h"
#include "Support/TemporaryDirectory.h"
#include "Support/WaitUntil.h"
#include "system/FolderTree.h"
#include "system/ProcessStart.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace tavo {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using testing::UnorderedElementsAre;

const TimePoint someMoment = TimePoint(std::chrono::seconds(1'700'000'000));

std::string statLine(const std::string& pid, const std::string& name, long ticks = 0) {
    return pid + " (" + name + ") S 1 1 1 0 -1 0 0 0 0 0 " + std::to_string(ticks) + " " + std::to_string(ticks) +
           " 0 0 20 0 1 0 5 4096\n";
}

void addProcess(const FolderTree& tree, const std::string& pid, const std::string& name, const std::string& cmdline) {
    tree.write(pid + "/stat", statLine(pid, name));
    tree.write(pid + "/cmdline", cmdline);
}

std::vector<ProcessSample> processesIn(const FolderTree& tree) {
    return ProcfsProcessSnapshotProvider(tree.root()).snapshot(someMoment).processes;
}

std::optional<ProcessSample> sampleOf(std::int32_t pid) {
    const auto processes = ProcfsProcessSnapshotProvider().snapshot(someMoment).processes;
    const auto found =
        std::find_if(processes.begin(), processes.end(), [pid](const auto& process) { return process.pid == pid; });
    return found == processes.end() ? std::nullopt : std::optional(*found);
}

TEST(ProcfsProcessSnapshotProvider, ReadsNamesOfAllKinds) {
    const FolderTree tree;
    addProcess(tree, "10", "a) R 1 (b", "x\0y z\0"s);
    addProcess(tree, "11", "line\nfeed", "");
    addProcess(tree, "12", "12345678901234\xC3", "/bin/12345678901234\xC3\xA9\0"s);
    addProcess(tree, "13", "kworker/0:1H-kblockd", "");
    EXPECT_THAT(processesIn(tree),
                UnorderedElementsAre(ProcessSample{10, 1, 0, "a) R 1 (b", "x y z", 5},
                                     ProcessSample{11, 1, 0, "line\nfeed", "line\nfeed", 5},
                                     ProcessSample{12, 1, 0, "12345678901234é", "/bin/12345678901234é", 5},
                                     ProcessSample{13, 1, 0, "kworker/0:1H-kblockd", "kworker/0:1H-kblockd", 5}));
}

TEST(ProcfsProcessSnapshotProvider, GivesUserAndSystemTimeInSeconds) {
    const FolderTree tree;
    const auto perSecond = sysconf(_SC_CLK_TCK);
    tree.write("10/stat", statLine("10", "x", perSecond * 3 / 4));
    tree.write("10/cmdline", "");
    EXPECT_EQ(processesIn(tree).at(0).cpuTimeSeconds, 1.5);
}

TEST(ProcfsProcessSnapshotProvider, KeepsTheMomentThatTheCallerAskedFor) {
    const FolderTree tree;
    EXPECT_EQ(ProcfsProcessSnapshotProvider(tree.root()).snapshot(someMoment),
              (ProcessSnapshot{.capturedAt = someMoment, .processes = {}}));
}

TEST(ProcfsProcessSnapshotProvider, LooksAtFoldersOfProcessesOnly) {
    const FolderTree tree;
    for (const auto* name : {"self", "sys", "1x", "-1", "+1", "0x1", " 1"}) {
        tree.write(fs::path(name) / "stat", statLine("10", "x"));
        tree.write(fs::path(name) / "cmdline", "");
    }
    tree.write("12", "a file");
    addProcess(tree, "11", "x", "");
    EXPECT_THAT(processesIn(tree), UnorderedElementsAre(ProcessSample{11, 1, 0, "x", "x", 5}));
}

TEST(ProcfsProcessSnapshotProvider, LeavesOutWhatHasEndedAndWhatCannotBeUnderstood) {
    const FolderTree tree;
    addProcess(tree, "11", "x", "");
    fs::create_directory(tree.root() / "12");
    tree.write("13/stat", "");
    tree.write("13/cmdline", "gone\0"s);
    tree.write("14/stat", statLine("14", "x").substr(0, 20));
    tree.write("14/cmdline", "cut\0"s);
    tree.write("15/stat", "\xFF\0\xFE garbage"s);
    tree.write("15/cmdline", "garbage\0"s);
    tree.write("16/stat", statLine("16", "ended between the two reads"));
    fs::create_directories(tree.root() / "17/stat");
    EXPECT_THAT(processesIn(tree), UnorderedElementsAre(ProcessSample{11, 1, 0, "x", "x", 5}));
}

TEST(ProcfsProcessSnapshotProvider, AProcessWhoseArgumentsCannotBeReadHasItsNameAsCommandLine) {
    const FolderTree tree;
    tree.write("11/stat", statLine("11", "x"));
    fs::create_directory(tree.root() / "11/cmdline");
    EXPECT_THAT(processesIn(tree), UnorderedElementsAre(ProcessSample{11, 1, 0, "x", "x", 5}));
}

TEST(ProcfsProcessSnapshotProvider, ReadsCommandLinesOfAnyLengthWhole) {
    const FolderTree tree;
    for (const std::size_t length : {4095U, 4096U, 4097U, 8192U, 3'000'000U}) {
        const std::string argument(length, 'a');
        addProcess(tree, "11", "x", argument + "\0tail\0"s);
        addProcess(tree, "12", "y", "short\0"s);
        EXPECT_THAT(processesIn(tree), UnorderedElementsAre(ProcessSample{11, 1, 0, "x", argument + " tail", 5},
                                                            ProcessSample{12, 1, 0, "y", "short", 5}));
    }
}

TEST(ProcfsProcessSnapshotProvider, LeavesOutAChildThatHasEndedAndIsNotReaped) {
    SpawnedProgram shell("/bin/sh", {.arguments = {"-c", "read line; exit 0"}, .environment = {}});
    ASSERT_TRUE(sampleOf(shell.pid()));
    shell.closeInput();
    siginfo_t info{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(shell.pid()), &info, WEXITED | WNOWAIT), 0);
    ASSERT_TRUE(fs::exists("/proc/" + std::to_string(shell.pid()) + "/stat"));
    EXPECT_FALSE(sampleOf(shell.pid()));
}

TEST(ProcfsProcessSnapshotProvider, AProcessWhoseFirstThreadHasExitedLivesAsLongAsAnotherDoes) {
    SpawnedProgram program(TAVO_TEST_CHILD, {.arguments = {"leave-a-thread", "an argument"}, .environment = {}});
    const auto stat = "/proc/" + std::to_string(program.pid()) + "/stat";
    ASSERT_TRUE(waitUntil([&] { return fileContent(stat).find(") Z ") != std::string::npos; }));
    const auto sample = sampleOf(program.pid());
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->executableName, fs::path(TAVO_TEST_CHILD).filename().string());
    EXPECT_EQ(sample->commandLine, TAVO_TEST_CHILD " leave-a-thread an argument");
    program.closeInput();
    ASSERT_TRUE(waitUntil([&] { return !sampleOf(program.pid()); }));
}

TEST(ProcfsProcessSnapshotProvider, ATableThatCannotBeOpenedIsAnError) {
    const FolderTree tree;
    tree.write("file", "");
    const auto codeFor = [](const fs::path& root) {
        try {
            ProcfsProcessSnapshotProvider(root).snapshot(someMoment);
        } catch (const std::system_error& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(root.string()));
            return error.code();
        }
        return std::error_code();
    };
    EXPECT_EQ(codeFor(tree.root() / "missing"), std::errc::no_such_file_or_directory);
    EXPECT_EQ(codeFor(tree.root() / "file"), std::errc::not_a_directory);
}

/// Lets the process open one more descriptor and no other while it lives.
class OneDescriptorLeft {
public:
    OneDescriptorLeft() {
        getrlimit(RLIMIT_NOFILE, &before);
        const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(next);
        auto tight = before;
        tight.rlim_cur = static_cast<rlim_t>(next) + 1;
        setrlimit(RLIMIT_NOFILE, &tight);
    }
    OneDescriptorLeft(const OneDescriptorLeft&) = delete;
    OneDescriptorLeft& operator=(const OneDescriptorLeft&) = delete;
    ~OneDescriptorLeft() { setrlimit(RLIMIT_NOFILE, &before); }

private:
    rlimit before{};
};

TEST(ProcfsProcessSnapshotProvider, ATableWithHolesForLackOfDescriptorsIsAnError) {
    const FolderTree tree;
    addProcess(tree, "11", "x", "");
    ASSERT_EQ(processesIn(tree).size(), 1U);
    try {
        // Over before the error is looked at: a sanitizer's first check of an object takes descriptors of its own.
        const OneDescriptorLeft limit;
        processesIn(tree);
        FAIL() << "nothing was thrown";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::too_many_files_open);
    }
}

TEST(ProcfsProcessSnapshotProvider, LeavesNoDescriptorBehind) {
    const auto openDescriptors = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto before = openDescriptors();
    ProcfsProcessSnapshotProvider().snapshot(someMoment);
    EXPECT_EQ(openDescriptors(), before);
}

TEST(ProcfsProcessSnapshotProvider, FindsThisProcessInTheRealTable) {
    const auto sample = sampleOf(getpid());
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->parentPID, getppid());
    EXPECT_EQ(sample->executableName, fs::read_symlink("/proc/self/exe").filename().string());
    EXPECT_THAT(std::string(sample->commandLine), testing::HasSubstr(std::string(sample->executableName)));
}

TEST(ProcfsProcessSnapshotProvider, SeesTheTimeThatThisProcessUses) {
    const auto before = sampleOf(getpid());
    ASSERT_TRUE(before);
    const auto usedSeconds = [] { return static_cast<double>(clock()) / CLOCKS_PER_SEC; };
    const double enough = usedSeconds() + 0.05;
    while (usedSeconds() < enough) {
    }
    const auto after = sampleOf(getpid());
    ASSERT_TRUE(after);
    EXPECT_GT(after->cpuTimeSeconds, before->cpuTimeSeconds);
    EXPECT_LT(after->cpuTimeSeconds, usedSeconds() + 1);
}

TEST(ProcfsProcessSnapshotProvider, TheRealTableIsInAscendingOrder) {
    const auto processes = ProcfsProcessSnapshotProvider().snapshot(someMoment).processes;
    EXPECT_TRUE(std::is_sorted(processes.begin(), processes.end(),
                               [](const auto& left, const auto& right) { return left.pid < right.pid; }));
}

/// A shell under another name that waits for the end of its input.
class WaitingShell {
public:
    WaitingShell(const fs::path& executable, const std::vector<std::string>& arguments) {
        if (pipe2(input.data(), O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe2");
        }
        std::vector<char*> words;
        words.reserve(arguments.size() + 1);
        for (const auto& argument : arguments) {
            words.push_back(const_cast<char*>(argument.c_str()));
        }
        words.push_back(nullptr);
        posix_spawn_file_actions_t actions{};
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        const int error = posix_spawn(&child, executable.c_str(), &actions, nullptr, words.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (error != 0) {
            throw std::system_error(error, std::generic_category(), executable.string());
        }
    }
    WaitingShell(const WaitingShell&) = delete;
    WaitingShell& operator=(const WaitingShell&) = delete;
    ~WaitingShell() {
        close(input[0]);
        close(input[1]);
        waitpid(child, nullptr, 0);
    }

    pid_t pid() const { return child; }

private:
    std::array<int, 2> input{};
    pid_t child = -1;
};

TEST(ProcfsProcessSnapshotProvider, ATableThatChangesAllTheTimeIsReadWithoutHolesAndWithoutEnd) {
    // A child that makes processes as fast as it can, for as long as this test reads.
    const auto busy = fork();
    if (busy == 0) {
        for (;;) {
            const auto child = vfork();
            if (child == 0) {
                _exit(0);
            }
            waitpid(child, nullptr, 0);
        }
    }
    ProcfsProcessSnapshotProvider provider;
    const auto openFiles = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    const auto before = openFiles();
    for (int reading = 0; reading < 100; ++reading) {
        const auto processes = provider.snapshot(someMoment).processes;
        const auto has = [&](pid_t wanted) {
            return std::count_if(processes.begin(), processes.end(), [&](const auto& p) { return p.pid == wanted; });
        };
        EXPECT_EQ(has(getpid()), 1);
        EXPECT_EQ(has(busy), 1);
        EXPECT_TRUE(std::is_sorted(processes.begin(), processes.end(),
                                   [](const auto& left, const auto& right) { return left.pid < right.pid; }));
    }
    EXPECT_EQ(openFiles(), before);
    kill(busy, SIGKILL);
    EXPECT_EQ(waitpid(busy, nullptr, 0), busy);
}

TEST(ProcfsProcessSnapshotProvider, CompletesTheLongNameOfARealChild) {
    const FolderTree tree;
    const auto executable = tree.root() / "a rather long (program) name é";
    fs::create_symlink("/bin/sh", executable);
    const WaitingShell shell(executable, {executable.string(), "-c", "read line; exit 0", "two words", ""});
    const auto sample = sampleOf(shell.pid());
    ASSERT_TRUE(sample);
    EXPECT_EQ(*sample,
              (ProcessSample{shell.pid(), getpid(), sample->cpuTimeSeconds, "a rather long (program) name é",
                             executable.string() + " -c read line; exit 0 two words", processStart(shell.pid())}));
}

} // namespace
} // namespace tavo
