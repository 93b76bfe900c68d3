#pragma once

#include "system/macos/PowerSourceNotifications.h"

#include <condition_variable>
#include <mutex>
#include <string>

namespace tavo {

/// One run loop with one source, which fires when the test says so. It runs until it is stopped, and like the real one
/// it forgets a request to stop that came before it ran.
class FakeRunLoop {
public:
    /// The functions of this program or library.
    static PowerNotificationFunctions functions();

    /// The run loop behind them.
    static FakeRunLoop& current();

    /// Has the source fire, on the thread that runs the loop.
    void fire();

    /// Sources that cannot be created.
    bool lacksSources = false;

    std::string mode;
    int runs = 0;
    int ends = 0;
    int stopRequests = 0;
    int released = 0;

private:
    std::mutex mutex;
    std::condition_variable changed;
    PowerNotificationFunctions::Callback callback = nullptr;
    void* context = nullptr;
    bool isRunning = false;
    bool isToStop = false;
    int toFire = 0;
};

} // namespace tavo
