#include "app/AsioMainLoop.h"

#include "app/CommonSecond.h"
#include "system/AsioTimer.h"

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/signal_set.hpp>
#include <asio/thread_pool.hpp>

#include <optional>
#include <utility>

namespace tavo {

namespace {

class LoopTimer final : public MainLoopTimer {
public:
    LoopTimer(asio::io_context& context, double seconds, std::function<void()> work)
        : timer(context, timerExpiry(std::chrono::steady_clock::now(), std::chrono::duration<double>(seconds)),
                std::move(work)) {}

private:
    AsioTimer timer;
};

} // namespace

struct AsioMainLoop::Implementation {
    asio::io_context context{1};
    asio::executor_work_guard<asio::io_context::executor_type> keepRunning{context.get_executor()};
    /// Most runs need none, and a thread has a stack.
    std::optional<asio::thread_pool> background;
    std::vector<std::unique_ptr<asio::signal_set>> signalSets;

    void waitForSignal(asio::signal_set& signals, const std::function<void(int)>& handler) {
        signals.async_wait([this, &signals, handler](const asio::error_code& error, int signal) {
            if (!error) {
                waitForSignal(signals, handler);
                handler(signal);
            }
        });
    }
};

AsioMainLoop::AsioMainLoop() : implementation(std::make_unique<Implementation>()) {}

AsioMainLoop::~AsioMainLoop() {
    if (implementation->background) {
        implementation->background->join();
    }
}

void AsioMainLoop::run() {
    implementation->context.run();
}

void AsioMainLoop::stop() {
    implementation->context.stop();
}

void AsioMainLoop::handleSignals(const std::vector<int>& signals, const std::function<void(int)>& handler) {
    auto set = std::make_unique<asio::signal_set>(implementation->context);
    for (const int signal : signals) {
        set->add(signal);
    }
    implementation->waitForSignal(*set, handler);
    implementation->signalSets.push_back(std::move(set));
}

TimePoint AsioMainLoop::now() const {
    return std::chrono::system_clock::now();
}

void AsioMainLoop::post(std::function<void()> work) {
    asio::post(implementation->context, std::move(work));
}

std::unique_ptr<MainLoopTimer> AsioMainLoop::startTimer(double seconds, std::function<void()> work) {
    return std::make_unique<LoopTimer>(implementation->context, seconds, std::move(work));
}

void AsioMainLoop::runInBackground(std::function<void()> work, std::function<void()> then) {
    if (!implementation->background) {
        implementation->background.emplace(1);
    }
    asio::post(*implementation->background, [this, work = std::move(work), then = std::move(then)]() mutable {
        work();
        post(std::move(then));
    });
}

} // namespace tavo
