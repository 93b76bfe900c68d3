#include "system/ProcessExits.h"

#include "Support/WaitUntil.h"
#include "system/ProcessStart.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>

namespace tavo {
namespace {

/// A process of the test's own that lives until it is ended.
class Sleeper {
public:
    Sleeper() : pid(fork()) {
        if (pid == 0) {
            pause();
            _exit(0);
        }
    }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;
    ~Sleeper() {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }

    WatchedProcess watched() const { return {.pid = pid, .startTime = processStart(pid)}; }

    /// Not reaped, so that the number is no other's.
    void end() const {
        kill(pid, SIGKILL);
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);
    }

    pid_t pid;
};

class ProcessExitsTest : public testing::Test {
protected:
    std::unique_ptr<ProcessExitWatch> watch(const std::vector<WatchedProcess>& processes) {
        return exits.watch(processes, [this] { ++told; });
    }

    /// The end of a living process is never reported; this long is enough to see that it is not at once.
    bool isToldSoon() {
        return waitUntil([this] { return told > 0; }, std::chrono::milliseconds{100});
    }
    bool isTold() {
        return waitUntil([this] { return told > 0; });
    }

    ProcessExits exits;
    std::atomic<int> told = 0;
};

TEST_F(ProcessExitsTest, TheLastEndIsTold) {
    const Sleeper first;
    const Sleeper second;
    const auto watching = watch({first.watched(), second.watched()});
    ASSERT_TRUE(watching);
    first.end();
    EXPECT_FALSE(isToldSoon());
    second.end();
    EXPECT_TRUE(isTold());
    EXPECT_EQ(told, 1);
}

TEST_F(ProcessExitsTest, WhatHasEndedAlreadyCountsReapedOrNot) {
    auto reaped = std::make_unique<Sleeper>();
    const auto gone = reaped->watched();
    reaped.reset();
    const Sleeper ended;
    const auto dead = ended.watched();
    ended.end();
    const auto watching = watch({gone, dead});
    ASSERT_TRUE(watching);
    EXPECT_TRUE(isTold());
}

TEST_F(ProcessExitsTest, AReusedNumberIsNotThatProcess) {
    const Sleeper sleeper;
    const auto watching = watch({{.pid = sleeper.pid, .startTime = *processStart(sleeper.pid) - 1}});
    ASSERT_TRUE(watching);
    EXPECT_TRUE(isTold());
}

TEST_F(ProcessExitsTest, AProcessIsWatchedByItsNumberAloneWhereNoMoreIsKnown) {
    const Sleeper sleeper;
    const auto watching = watch({{.pid = sleeper.pid, .startTime = std::nullopt}});
    ASSERT_TRUE(watching);
    EXPECT_FALSE(isToldSoon());
    sleeper.end();
    EXPECT_TRUE(isTold());
}

TEST_F(ProcessExitsTest, ADestroyedWatchTellsNothing) {
    const Sleeper sleeper;
    watch({sleeper.watched()}).reset();
    sleeper.end();
    EXPECT_FALSE(isToldSoon());
}

TEST_F(ProcessExitsTest, SixtyFourAreWatchedAndNoMore) {
    const WatchedProcess self{.pid = getpid(), .startTime = processStart(getpid())};
    EXPECT_TRUE(watch(std::vector(ProcessExitNotifying::maxProcesses, self)));
    EXPECT_FALSE(watch(std::vector(ProcessExitNotifying::maxProcesses + 1, self)));
    EXPECT_FALSE(watch({}));
}

/// A folder with an entry for each descriptor of this process.
std::ptrdiff_t openDescriptors() {
    const std::filesystem::path linuxFolder = "/proc/self/fd";
    const std::filesystem::directory_iterator entries(exists(linuxFolder) ? linuxFolder : "/dev/fd");
    return std::distance(begin(entries), end(entries));
}

TEST_F(ProcessExitsTest, NoDescriptorIsLeft) {
    const auto before = openDescriptors();
    for (int round = 0; round < 10; ++round) {
        const Sleeper sleeper;
        auto watching = watch(std::vector(20, sleeper.watched()));
        ASSERT_TRUE(watching);
        EXPECT_GT(openDescriptors(), before);
        if (round % 2 == 0) {
            sleeper.end();
            EXPECT_TRUE(isTold());
            told = 0;
        }
        watching.reset();
        EXPECT_EQ(openDescriptors(), before);
    }
}

TEST_F(ProcessExitsTest, DescriptorsThatOthersNeedAreSpared) {
    if (!std::filesystem::exists("/proc/self/fd")) {
        GTEST_SKIP() << "one queue watches them all here";
    }
    struct rlimit limit {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    auto low = limit;
    low.rlim_cur = static_cast<rlim_t>(openDescriptors()) + 70;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
    const WatchedProcess self{.pid = getpid(), .startTime = processStart(getpid())};
    EXPECT_FALSE(watch(std::vector(30, self)));
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_TRUE(watch(std::vector(30, self)));
}

} // namespace
} // namespace tavo
