#include "system/AsioTimer.h"

#include <asio/execution_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <map>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

using Clock = std::chrono::steady_clock;

class LoopTimers;

int newTimerDescriptor() {
    const int descriptor = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "could not make a timer");
    }
    return descriptor;
}

} // namespace

struct AsioTimer::Wait {
    LoopTimers& timers;
    std::function<void()> work;
    bool isOver = false;
};

namespace {

/// All timers of one loop, on one descriptor of the kernel's. asio's own would do, but leave the descriptor armed for a
/// timer that was called off, and once there was one arm it every five minutes for ever: the processor wakes up for
/// nothing.
class LoopTimers final : public asio::execution_context::service {
public:
    using key_type = LoopTimers;
    static inline asio::execution_context::id id;

    explicit LoopTimers(asio::execution_context& context)
        : service(context), loop(static_cast<asio::io_context&>(context)), descriptor(loop, newTimerDescriptor()) {}

    void add(Clock::time_point expiry, std::shared_ptr<AsioTimer::Wait> wait) {
        waits.emplace(expiry, std::move(wait));
        arm();
    }

    void remove(const AsioTimer::Wait& wait) {
        std::erase_if(waits, [&](const auto& entry) { return entry.second.get() == &wait; });
        arm();
    }

private:
    void shutdown() noexcept override {
        hasEnded = true;
        // The work may own timers itself.
        for (const auto& [expiry, wait] : std::exchange(waits, {})) {
            wait->isOver = true;
        }
    }

    void arm() {
        if (hasEnded) {
            return;
        }
        itimerspec time{};
        if (!waits.empty()) {
            // Tools that give a process another clock take every absolute time for one of that clock.
            const auto left = std::max<Clock::duration>(waits.begin()->first - Clock::now(), Clock::duration(1));
            const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
            time.it_value.tv_sec = seconds.count();
            time.it_value.tv_nsec = (left - seconds).count();
        }
        timerfd_settime(descriptor.native_handle(), 0, &time, nullptr);
        if (waits.empty() && isAwaited) {
            // A pending wait would keep the loop running.
            isAwaited = false;
            descriptor.cancel();
        } else if (!waits.empty() && !isAwaited) {
            isAwaited = true;
            descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                                  [this, current = ++generation](const asio::error_code& error) {
                                      // One that was due already can no longer be cancelled.
                                      if (!error && isAwaited && current == generation) {
                                          isAwaited = false;
                                          runDue();
                                      }
                                  });
        }
    }

    void runDue() {
        std::uint64_t count = 0;
        // Nothing to read after all: it was armed afresh meanwhile.
        [[maybe_unused]] const auto length = read(descriptor.native_handle(), &count, sizeof count);
        const auto due = waits.upper_bound(Clock::now());
        for (auto entry = waits.begin(); entry != due; ++entry) {
            asio::post(loop, [wait = std::move(entry->second)] {
                if (!std::exchange(wait->isOver, true)) {
                    wait->work();
                }
            });
        }
        waits.erase(waits.begin(), due);
        arm();
    }

    asio::io_context& loop;
    asio::posix::stream_descriptor descriptor;
    std::multimap<Clock::time_point, std::shared_ptr<AsioTimer::Wait>> waits;
    bool isAwaited = false;
    std::uint64_t generation = 0;
    bool hasEnded = false;
};

} // namespace

AsioTimer::AsioTimer(asio::io_context& loop, Clock::duration delay, std::function<void()> work)
    : AsioTimer(loop, Clock::now() + delay, std::move(work)) {}

AsioTimer::AsioTimer(asio::io_context& loop, Clock::time_point expiry, std::function<void()> work)
    : wait(std::make_shared<Wait>(asio::use_service<LoopTimers>(loop), std::move(work))) {
    wait->timers.add(expiry, wait);
}

AsioTimer::~AsioTimer() {
    if (!std::exchange(wait->isOver, true)) {
        wait->timers.remove(*wait);
    }
}

} // namespace tavo
