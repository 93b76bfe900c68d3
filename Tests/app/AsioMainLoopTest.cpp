#include "app/AsioMainLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <thread>
#include <vector>

namespace tavo {
namespace {

using testing::ElementsAre;

TEST(AsioMainLoop, PostedWorkRunsInOrderOnTheThreadThatRunsTheLoop) {
    AsioMainLoop loop;
    std::vector<int> order;
    const auto mainThread = std::this_thread::get_id();
    std::thread([&] {
        loop.post([&] { order.push_back(1); });
        loop.post([&] {
            order.push_back(std::this_thread::get_id() == mainThread ? 2 : -2);
            loop.stop();
        });
    }).join();
    loop.run();
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(AsioMainLoop, TimersFireInTheOrderOfTheirTimes) {
    AsioMainLoop loop;
    std::vector<int> order;
    const auto late = loop.startTimer(0.02, [&] {
        order.push_back(2);
        loop.stop();
    });
    const auto early = loop.startTimer(0.0, [&] { order.push_back(1); });
    loop.run();
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(AsioMainLoop, ADestroyedTimerDoesNotFireEvenWhenItIsDue) {
    AsioMainLoop loop;
    std::unique_ptr<MainLoopTimer> calledOff = loop.startTimer(0.0, [] { FAIL() << "fired"; });
    const auto last = loop.startTimer(0.01, [&] { loop.stop(); });
    loop.post([&] { calledOff.reset(); });
    loop.run();
}

TEST(AsioMainLoop, ATimerMayReplaceItselfWhileItFires) {
    AsioMainLoop loop;
    std::unique_ptr<MainLoopTimer> timer;
    int fired = 0;
    std::function<void()> again = [&] {
        if (++fired == 3) {
            loop.stop();
        } else {
            timer = loop.startTimer(0.0, again);
        }
    };
    timer = loop.startTimer(0.0, again);
    loop.run();
    EXPECT_EQ(fired, 3);
}

TEST(AsioMainLoop, BackgroundWorkRunsElsewhereAndItsResultOnTheMainThread) {
    AsioMainLoop loop;
    const auto mainThread = std::this_thread::get_id();
    std::thread::id workThread;
    std::thread::id thenThread;
    loop.runInBackground([&] { workThread = std::this_thread::get_id(); },
                         [&] {
                             thenThread = std::this_thread::get_id();
                             loop.stop();
                         });
    loop.run();
    EXPECT_NE(workThread, mainThread);
    EXPECT_EQ(thenThread, mainThread);
}

TEST(AsioMainLoop, EverySignalIsHandledOnTheMainThread) {
    AsioMainLoop loop;
    std::vector<int> signals;
    loop.handleSignals({SIGUSR1, SIGUSR2}, [&](int signal) {
        signals.push_back(signal);
        if (signal == SIGUSR2) {
            loop.stop();
        } else {
            std::raise(signals.size() < 2 ? SIGUSR1 : SIGUSR2);
        }
    });
    loop.post([] { std::raise(SIGUSR1); });
    loop.run();
    EXPECT_THAT(signals, ElementsAre(SIGUSR1, SIGUSR1, SIGUSR2));
}

TEST(AsioMainLoop, TheClockIsTheWallClock) {
    const auto before = std::chrono::system_clock::now();
    const auto now = AsioMainLoop().now();
    EXPECT_GE(now, before);
    EXPECT_LE(now, std::chrono::system_clock::now());
}

} // namespace
} // namespace tavo
