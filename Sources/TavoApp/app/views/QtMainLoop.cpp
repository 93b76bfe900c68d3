#include "app/views/QtMainLoop.h"

#include <QMetaObject>
#include <QThreadPool>
#include <QTimer>
#include <cmath>
#include <utility>

namespace tavo {

namespace {

constexpr double millisecondsPerSecond = 1000.0;

class Timer final : public MainLoopTimer {
public:
    Timer(double seconds, std::function<void()> work) : timer(new QTimer) {
        timer->setSingleShot(true);
        // A minute ends at a full second of the monotonic clock, as in other programs: they wake up the processor together.
        timer->setTimerType(Qt::CoarseTimer);
        timer->setInterval(static_cast<int>(std::ceil(seconds * millisecondsPerSecond)));
        QObject::connect(timer, &QTimer::timeout, std::move(work));
        timer->start();
    }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer() override {
        timer->stop();
        // Deferred, since the work it runs may destroy it.
        timer->deleteLater();
    }

private:
    QTimer* timer;
};

} // namespace

/// Threads that have no work end at once: Qt, which paints with them too, would wake each of them up half a minute later
/// for that.
QtMainLoop::QtMainLoop() {
    QThreadPool::globalInstance()->setExpiryTimeout(0);
}

QtMainLoop::~QtMainLoop() {
    QThreadPool::globalInstance()->waitForDone();
}

bool QtMainLoop::waitForBackgroundWork(std::chrono::milliseconds bound) const {
    return QThreadPool::globalInstance()->waitForDone(static_cast<int>(bound.count()));
}

void QtMainLoop::post(std::function<void()> work) {
    QMetaObject::invokeMethod(&receiver, std::move(work), Qt::QueuedConnection);
}

std::unique_ptr<MainLoopTimer> QtMainLoop::startTimer(double seconds, std::function<void()> work) {
    return std::make_unique<Timer>(seconds, std::move(work));
}

void QtMainLoop::runInBackground(std::function<void()> work, std::function<void()> then) {
    QThreadPool::globalInstance()->start([this, work = std::move(work), then = std::move(then)] {
        work();
        post(then);
    });
}

} // namespace tavo
