#pragma once

#include "app/MainLoop.h"

#include <QObject>

namespace tavo {

/// The main loop of a Qt application: the thread on which the application object lives.
class QtMainLoop final : public MainLoop {
public:
    QtMainLoop();

    /// Waits for work that is still being done in the background.
    ~QtMainLoop() override;

    TimePoint now() const override { return std::chrono::system_clock::now(); }
    void post(std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<MainLoopTimer> startTimer(double seconds, std::function<void()> work) override;
    void runInBackground(std::function<void()> work, std::function<void()> then) override;

    /// Waits at most `bound` for background work. Returns whether all of it has finished.
    [[nodiscard]] bool waitForBackgroundWork(std::chrono::milliseconds bound) const;

private:
    QObject receiver;
};

} // namespace tavo
