#pragma once

#include "TavoPrivilegedHelper/HelperTimers.h"

#include <map>
#include <memory>
#include <utility>

namespace tavo {

/// Timers on a clock that the test moves.
class ManualHelperTimers final : public HelperTimers {
public:
    std::unique_ptr<HelperTimer> start(std::chrono::milliseconds delay, std::function<void()> work) override {
        const auto number = ++lastNumber;
        pending->emplace(number, Pending{now + delay, std::move(work)});
        return std::make_unique<Timer>(pending, number);
    }

    /// Moves the clock, and runs what comes due meanwhile, in its order.
    void advance(std::chrono::milliseconds time) {
        const auto until = now + time;
        for (auto next = nextDue(until); next != pending->end(); next = nextDue(until)) {
            now = next->second.due;
            const auto work = next->second.work;
            pending->erase(next);
            work();
        }
        now = until;
    }

private:
    struct Pending {
        std::chrono::milliseconds due;
        std::function<void()> work;
    };
    using PendingTimers = std::map<int, Pending>;

    class Timer final : public HelperTimer {
    public:
        Timer(std::shared_ptr<PendingTimers> pending, int number) : pending(std::move(pending)), number(number) {}
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;
        ~Timer() override { pending->erase(number); }

    private:
        std::shared_ptr<PendingTimers> pending;
        int number;
    };

    PendingTimers::iterator nextDue(std::chrono::milliseconds until) {
        auto next = pending->end();
        for (auto timer = pending->begin(); timer != pending->end(); ++timer) {
            if (timer->second.due <= until && (next == pending->end() || timer->second.due < next->second.due)) {
                next = timer;
            }
        }
        return next;
    }

    std::chrono::milliseconds now{0};
    int lastNumber = 0;
    std::shared_ptr<PendingTimers> pending = std::make_shared<PendingTimers>();
};

} // namespace tavo
