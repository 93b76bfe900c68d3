#pragma once

#include "system/InterruptibleCommandRunner.h"

#include <chrono>
#include <memory>

namespace tavo {

/// While this lives, a signal that asks the program to end calls off what waits for an administrator or for the helper,
/// so that neither a prompt nor a staged file stays behind. The program ends by that signal, as soon as everything is put
/// away, and a second later at the latest.
class InterruptedBySignals {
public:
    static constexpr std::chrono::milliseconds defaultPatience{900};

    /// @param interruption  null when nothing can wait: signals do what they always do then.
    /// @param patience      how long after a signal everything may take to be put away.
    explicit InterruptedBySignals(std::shared_ptr<Interruption> interruption,
                                  std::chrono::milliseconds patience = defaultPatience);
    InterruptedBySignals(const InterruptedBySignals&) = delete;
    InterruptedBySignals& operator=(const InterruptedBySignals&) = delete;

    /// Ends the program when there was a signal.
    ~InterruptedBySignals();

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace tavo
