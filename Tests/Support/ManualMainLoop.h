#pragma once

#include "app/MainLoop.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace tavo {

/// A main loop whose clock the test moves: an hour passes in no time.
class ManualMainLoop final : public MainLoop {
public:
    explicit ManualMainLoop(TimePoint start) : clock(start) {}

    TimePoint now() const override { return clock; }

    void post(std::function<void()> work) override {
        const std::lock_guard lock(mutex);
        posted.push_back(std::move(work));
    }

    std::unique_ptr<MainLoopTimer> startTimer(double seconds, std::function<void()> work) override {
        const auto due =
            clock + std::chrono::duration_cast<TimePoint::duration>(std::chrono::duration<double>(seconds));
        auto entry = std::make_shared<Entry>(Entry{due, std::move(work)});
        entries.push_back(entry);
        return std::make_unique<Timer>(entry);
    }

    void runInBackground(std::function<void()> work, std::function<void()> then) override {
        isInBackground = true;
        work();
        isInBackground = false;
        post(std::move(then));
    }

    /// Runs everything that was posted, and what that posts.
    void runPosted() {
        while (const auto work = takePosted()) {
            work();
        }
    }

    /// Lets time pass, firing timers when they are due, in their order.
    void advance(std::chrono::seconds length) {
        const auto end = clock + length;
        runPosted();
        while (const auto next = nextDue(end)) {
            clock = std::max(clock, next->due);
            std::exchange(next->work, nullptr)();
            runPosted();
        }
        clock = end;
    }

    /// Sets the clock back, or with a negative length forward, without a timer noticing.
    void setBack(std::chrono::seconds length) {
        clock -= length;
        for (const auto& weak : entries) {
            if (const auto entry = weak.lock()) {
                entry->due -= length;
            }
        }
    }

    /// How many timers have yet to fire.
    std::size_t armedTimers() const {
        return static_cast<std::size_t>(std::count_if(entries.begin(), entries.end(), [](const auto& weak) {
            const auto entry = weak.lock();
            return entry && entry->work;
        }));
    }

    /// While work runs that was asked for in the background.
    bool isInBackground = false;

private:
    struct Entry {
        TimePoint due;
        std::function<void()> work;
    };
    struct Timer final : MainLoopTimer {
        explicit Timer(std::shared_ptr<Entry> entry) : entry(std::move(entry)) {}
        std::shared_ptr<Entry> entry;
    };

    std::function<void()> takePosted() {
        const std::lock_guard lock(mutex);
        if (posted.empty()) {
            return nullptr;
        }
        auto work = std::move(posted.front());
        posted.pop_front();
        return work;
    }

    std::shared_ptr<Entry> nextDue(TimePoint end) const {
        std::shared_ptr<Entry> next;
        for (const auto& weak : entries) {
            const auto entry = weak.lock();
            if (entry && entry->work && entry->due <= end && (!next || entry->due < next->due)) {
                next = entry;
            }
        }
        return next;
    }

    TimePoint clock;
    std::mutex mutex;
    std::deque<std::function<void()>> posted;
    std::vector<std::weak_ptr<Entry>> entries;
};

} // namespace tavo
