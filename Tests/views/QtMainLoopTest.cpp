#include "app/views/QtMainLoop.h"

#include <gtest/gtest.h>

#include <QPointer>
#include <QTest>
#include <QThread>
#include <atomic>
#include <future>
#include <thread>

namespace tavo {
namespace {

TEST(QtMainLoop, RunsWhatAnotherThreadPostsOnTheMainThread) {
    QtMainLoop loop;
    QThread* ranOn = nullptr;
    std::thread([&] { loop.post([&] { ranOn = QThread::currentThread(); }); }).join();
    EXPECT_EQ(ranOn, nullptr) << "not before its turn";
    EXPECT_TRUE(QTest::qWaitFor([&] { return ranOn != nullptr; }));
    EXPECT_EQ(ranOn, QThread::currentThread());
}

TEST(QtMainLoop, ATimerFiresOnceAndMayBeDestroyedByItsWork) {
    QtMainLoop loop;
    int fired = 0;
    std::unique_ptr<MainLoopTimer> timer;
    timer = loop.startTimer(0.0, [&] {
        ++fired;
        timer.reset();
    });
    EXPECT_TRUE(QTest::qWaitFor([&] { return fired == 1; }));
    EXPECT_EQ(timer, nullptr);
}

TEST(QtMainLoop, ATimerThatWasCalledOffDoesNotFire) {
    QtMainLoop loop;
    bool hasFired = false;
    bool isLater = false;
    loop.startTimer(0.0, [&] { hasFired = true; }).reset();
    const auto later = loop.startTimer(0.01, [&] { isLater = true; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return isLater; }));
    EXPECT_FALSE(hasFired);
}

TEST(QtMainLoop, BackgroundWorkRunsElsewhereAndItsEndHere) {
    QtMainLoop loop;
    std::atomic<QThread*> workedOn = nullptr;
    QThread* endedOn = nullptr;
    loop.runInBackground([&] { workedOn = QThread::currentThread(); }, [&] { endedOn = QThread::currentThread(); });
    EXPECT_TRUE(QTest::qWaitFor([&] { return endedOn != nullptr; }));
    EXPECT_NE(workedOn, QThread::currentThread());
    EXPECT_EQ(endedOn, QThread::currentThread());
}

TEST(QtMainLoop, NoThreadWaitsForMoreBackgroundWork) {
    QtMainLoop loop;
    QPointer<QThread> worker;
    bool hasEnded = false;
    loop.runInBackground([&] { worker = QThread::currentThread(); }, [&] { hasEnded = true; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return hasEnded; }));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !worker || worker->isFinished(); }));
}

TEST(QtMainLoop, SaysWhetherBackgroundWorkHasEnded) {
    QtMainLoop loop;
    EXPECT_TRUE(loop.waitForBackgroundWork(std::chrono::milliseconds{0}));
    std::promise<void> end;
    loop.runInBackground([waited = end.get_future().share()] { waited.wait(); }, [] {});
    EXPECT_FALSE(loop.waitForBackgroundWork(std::chrono::milliseconds{10}));
    end.set_value();
    EXPECT_TRUE(loop.waitForBackgroundWork(std::chrono::seconds{20}));
}

} // namespace
} // namespace tavo
