#pragma once

#include <csignal>
#include <functional>
#include <memory>
#include <vector>

namespace tavo {

/// The signals with which a program is asked to end. One that was ignored when the program started, as under nohup(1),
/// stays ignored.
std::vector<int> quittingSignals();

/// The signal with which a terminal stops a program, Ctrl-Z, unless it was ignored when the program started.
std::vector<int> stoppingSignals();

/// Stops this process as an unhandled SIGTSTP does, and returns when it is continued. For programs that handle the
/// signal in order to release something first.
void stopUntilContinued();

/// Blocks signals until they can be handled: one that arrives earlier could end the process before it releases
/// anything. Threads started in the meantime keep them blocked.
class BlockedSignals {
public:
    explicit BlockedSignals(const std::vector<int>& signals);
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;
    ~BlockedSignals();

private:
    sigset_t before{};
};

/// Waits for signals, which every thread has blocked, on a thread of its own, sigwait(3). For main loops without signal
/// handling.
class SignalWatch {
public:
    /// @param onSignal  called on that thread for each signal.
    SignalWatch(const std::vector<int>& signals, std::function<void(int)> onSignal);
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    /// Returns when no call is under way any more.
    ~SignalWatch();

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace tavo
