#include "system/macos/PowerSourceNotifications.h"

#include "Support/WaitUntil.h"
#include "system/macos/FakeRunLoop.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>

namespace tavo {
namespace {

TEST(PowerSourceNotifications, TheRunLoopOfAThreadOfItsOwnTells) {
    auto& loop = FakeRunLoop::current();
    const int endsBefore = loop.ends;
    const int releasedBefore = loop.released;
    std::atomic<int> notified = 0;
    std::atomic<bool> isOnAnotherThread = false;
    PowerSourceNotifications notifications(FakeRunLoop::functions());
    const auto here = std::this_thread::get_id();
    auto watch = notifications.watch([&] {
        isOnAnotherThread = std::this_thread::get_id() != here;
        ++notified;
    });
    EXPECT_EQ(loop.mode, "kCFRunLoopDefaultMode");
    loop.fire();
    EXPECT_TRUE(waitUntil([&] { return notified == 1; }));
    loop.fire();
    EXPECT_TRUE(waitUntil([&] { return notified == 2; }));
    EXPECT_TRUE(isOnAnotherThread);
    watch.reset();
    EXPECT_EQ(loop.ends, endsBefore + 1) << "the thread has ended";
    EXPECT_EQ(loop.released - releasedBefore, 2) << "the source and the name of the mode";
}

TEST(PowerSourceNotifications, AWatchThatIsWithdrawnAtOnceEndsToo) {
    auto& loop = FakeRunLoop::current();
    PowerSourceNotifications notifications(FakeRunLoop::functions());
    for (int round = 0; round < 200; ++round) {
        const int endsBefore = loop.ends;
        notifications.watch([] {}).reset();
        ASSERT_EQ(loop.ends, endsBefore + 1);
    }
}

TEST(PowerSourceNotifications, AreCalledThroughALibraryThatIsLoadedAtRunTime) {
    void* const library = dlopen(TAVO_STAND_IN_IOKIT, RTLD_LAZY | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    auto& loop = *reinterpret_cast<FakeRunLoop* (*)()>(dlsym(library, "standInRunLoop"))();
    ASSERT_NE(&loop, &FakeRunLoop::current());
    std::atomic<int> notified = 0;
    PowerSourceNotifications notifications(PowerNotificationFunctions::load(TAVO_STAND_IN_IOKIT));
    const auto watch = notifications.watch([&] { ++notified; });
    loop.fire();
    EXPECT_TRUE(waitUntil([&] { return notified == 1; }));
}

TEST(PowerSourceNotifications, WithoutAllOfTheFunctionsThereAreNone) {
    EXPECT_FALSE(PowerNotificationFunctions::load(TAVO_STAND_IN_WITHOUT_NOTIFICATIONS));
    EXPECT_FALSE(PowerNotificationFunctions::load("/nowhere/IOKit"));
    EXPECT_THROW(static_cast<void>(PowerSourceNotifications(std::nullopt).watch([] {})), std::system_error);
}

TEST(PowerSourceNotifications, WithoutASourceTheWatchSaysSo) {
    FakeRunLoop::current().lacksSources = true;
    EXPECT_THROW(static_cast<void>(PowerSourceNotifications(FakeRunLoop::functions()).watch([] {})), std::system_error);
    FakeRunLoop::current().lacksSources = false;
}

} // namespace
} // namespace tavo
