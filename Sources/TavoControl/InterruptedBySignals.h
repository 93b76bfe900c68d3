#pragma once

#include "system/InterruptibleCommandRunner.h"

#include <chrono>
#include <memory>

namespace tavo {

/// While this lives, a signal that asks the program to end interrupts the wait for an administrator or for the helper,
/// so that neither a prompt nor a staged file stays behind. The program then ends by that signal once everything is
/// cleaned up, and after a second at the latest.
class InterruptedBySignals {
public:
    static constexpr std::chrono::milliseconds defaultTimeout{900};

    /// @param interruption  null when nothing waits: signals then have their usual effect.
    /// @param timeout       how long the cleaning up may take after a signal.
    explicit InterruptedBySignals(std::shared_ptr<Interruption> interruption,
                                  std::chrono::milliseconds timeout = defaultTimeout);
    InterruptedBySignals(const InterruptedBySignals&) = delete;
    InterruptedBySignals& operator=(const InterruptedBySignals&) = delete;

    /// Ends the program when there was a signal.
    ~InterruptedBySignals();

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace tavo
