#include "system/ProcessExits.h"

#include "Support/SleepingChild.h"
#include "Support/WaitUntil.h"
#include "system/ProcessStart.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

namespace tavo {
namespace {

WatchedProcess watched(const SleepingChild& child) {
    return {.pid = child.pid, .startTime = processStart(child.pid)};
}

class ProcessExitsTest : public testing::Test {
protected:
    std::unique_ptr<ProcessExitWatch> watch(const std::vector<WatchedProcess>& processes) {
        return exits.watch(processes, [this] { ++notified; });
    }

    /// The end of a living process is never reported; this long is enough to see that it is not at once.
    bool isNotifiedSoon() {
        return waitUntil([this] { return notified > 0; }, std::chrono::milliseconds{100});
    }
    bool isNotified() {
        return waitUntil([this] { return notified > 0; });
    }

    ProcessExits exits;
    std::atomic<int> notified = 0;
};

TEST_F(ProcessExitsTest, TheLastEndIsNotified) {
    const SleepingChild first;
    const SleepingChild second;
    const auto watching = watch({watched(first), watched(second)});
    ASSERT_TRUE(watching);
    first.end();
    EXPECT_FALSE(isNotifiedSoon());
    second.end();
    EXPECT_TRUE(isNotified());
    EXPECT_EQ(notified, 1);
}

TEST_F(ProcessExitsTest, WhatHasEndedAlreadyCountsReapedOrNot) {
    auto reaped = std::make_unique<SleepingChild>();
    const auto gone = watched(*reaped);
    reaped.reset();
    const SleepingChild ended;
    const auto dead = watched(ended);
    ended.end();
    const auto watching = watch({gone, dead});
    ASSERT_TRUE(watching);
    EXPECT_TRUE(isNotified());
}

TEST_F(ProcessExitsTest, AReusedNumberIsNotThatProcess) {
    const SleepingChild sleeper;
    const auto watching = watch({{.pid = sleeper.pid, .startTime = *processStart(sleeper.pid) - 1}});
    ASSERT_TRUE(watching);
    EXPECT_TRUE(isNotified());
}

TEST_F(ProcessExitsTest, AProcessIsWatchedByItsNumberAloneWhereNoMoreIsKnown) {
    const SleepingChild sleeper;
    const auto watching = watch({{.pid = sleeper.pid, .startTime = std::nullopt}});
    ASSERT_TRUE(watching);
    EXPECT_FALSE(isNotifiedSoon());
    sleeper.end();
    EXPECT_TRUE(isNotified());
}

TEST_F(ProcessExitsTest, ADestroyedWatchNotifiesNobody) {
    const SleepingChild sleeper;
    watch({watched(sleeper)}).reset();
    sleeper.end();
    EXPECT_FALSE(isNotifiedSoon());
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
        const SleepingChild sleeper;
        auto watching = watch(std::vector(20, watched(sleeper)));
        ASSERT_TRUE(watching);
        EXPECT_GT(openDescriptors(), before);
        if (round % 2 == 0) {
            sleeper.end();
            EXPECT_TRUE(isNotified());
            notified = 0;
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
