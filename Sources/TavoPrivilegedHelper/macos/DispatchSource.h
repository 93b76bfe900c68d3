#pragma once

#include <dispatch/dispatch.h>

#include <functional>
#include <memory>
#include <utility>

namespace tavo {

/// A dispatch source on the main queue that calls a function, and is cancelled when it is destroyed. Used on the main
/// queue alone: nothing is called any more once it has gone.
class DispatchSource {
public:
    DispatchSource(dispatch_source_type_t type, uintptr_t handle, unsigned long mask, std::function<void()> onEvent)
        : source(dispatch_source_create(type, handle, mask, dispatch_get_main_queue())) {
        begin(std::move(onEvent));
    }

    /// Calls `onEvent` once, this many nanoseconds from now.
    DispatchSource(std::int64_t delay, std::function<void()> onEvent)
        : source(dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, dispatch_get_main_queue())) {
        dispatch_source_set_timer(source, dispatch_time(DISPATCH_TIME_NOW, delay), DISPATCH_TIME_FOREVER, 0);
        begin(std::move(onEvent));
    }

    DispatchSource(const DispatchSource&) = delete;
    DispatchSource& operator=(const DispatchSource&) = delete;

    ~DispatchSource() {
        dispatch_source_cancel(source);
        dispatch_release(source);
    }

private:
    void begin(std::function<void()> onEvent) {
        // The block lives on while it runs, also when its source is destroyed from within.
        const std::weak_ptr<bool> weakAlive = alive;
        dispatch_source_set_event_handler(source, ^{
          if (!weakAlive.expired()) {
              onEvent();
          }
        });
        dispatch_resume(source);
    }

    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
    dispatch_source_t source;
};

} // namespace tavo
