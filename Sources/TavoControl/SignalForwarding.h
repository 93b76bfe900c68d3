#pragma once

#include "TavoControl/CommandChild.h"
#include "base/FileDescriptor.h"

#include <csignal>
#include <functional>
#include <optional>
#include <thread>

namespace tavo {

/// Whether a process sent the signal, and not the kernel: a terminal sends the signals of its keys to the whole process
/// group. Each system has its own way to tell, sigaction(2).
bool isSentByProcess(const siginfo_t& information);

/// Catches the signals that are meant for the command that this process runs for the user, and reports those to
/// forward: the command has already received the terminal's.
///
/// There can be one at a time in a process. Signals that were ignored at the start stay ignored.
class SignalForwarding {
public:
    /// @param onSignal  called on a thread of its own for each signal that a process sent to this one.
    /// @throws std::system_error.
    SignalForwarding(const InheritedConditions& conditions, std::function<void(int signal)> onSignal);
    SignalForwarding(const SignalForwarding&) = delete;
    SignalForwarding& operator=(const SignalForwarding&) = delete;

    /// Returns when no call is under way any more. The signals stay caught, and do nothing.
    ~SignalForwarding();

    /// The first signal so far that asked this process to end, from a process or the terminal.
    std::optional<int> endingSignal() const;

private:
    FileDescriptor reading;
    FileDescriptor writing;
    std::thread thread;
};

} // namespace tavo
