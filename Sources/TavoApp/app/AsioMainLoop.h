#pragma once

#include "app/MainLoop.h"

#include <functional>
#include <memory>
#include <vector>

namespace tavo {

/// A main loop for programs without a desktop, with signals as events.
class AsioMainLoop final : public MainLoop {
public:
    AsioMainLoop();
    AsioMainLoop(const AsioMainLoop&) = delete;
    AsioMainLoop& operator=(const AsioMainLoop&) = delete;
    ~AsioMainLoop() override;

    /// Runs on the calling thread, which is the main thread from then on, until stop() is called.
    void run();

    /// Ends run() once the current task returns. May be called from any thread.
    void stop();

    /// Calls `handler` on the main thread for each of the signals that arrives. @throws std::system_error.
    void handleSignals(const std::vector<int>& signals, const std::function<void(int signal)>& handler);

    TimePoint now() const override;
    void post(std::function<void()> work) override;
    std::unique_ptr<MainLoopTimer> startTimer(double seconds, std::function<void()> work) override;
    void runInBackground(std::function<void()> work, std::function<void()> then) override;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace tavo
