#include "TavoControl/InterruptedBySignals.h"

#include "app/ProcessSignals.h"

#include <pthread.h>

#include <condition_variable>
#include <csignal>
#include <mutex>
#include <optional>
#include <utility>

namespace tavo {

namespace {

/// Ends the process the way that the signal would have, so that the caller sees why it ended.
void endBy(int signal) {
    std::signal(signal, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    std::raise(signal);
}

} // namespace

struct InterruptedBySignals::State {
    State(std::shared_ptr<Interruption> interruption, std::chrono::milliseconds timeout)
        : interruption(std::move(interruption)), timeout(timeout) {}

    void handle(int signal) {
        interruption->interrupt();
        std::unique_lock lock(mutex);
        received = signal;
        if (!changed.wait_for(lock, timeout, [this] { return isOver; })) {
            endBy(signal);
        }
    }

    std::shared_ptr<Interruption> interruption;
    std::chrono::milliseconds timeout;
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<int> received;
    bool isOver = false;

    // Blocked before the thread that waits for them starts, and unblocked after it has ended.
    BlockedSignals blocked{quittingSignals()};
    std::optional<SignalWatch> watch;
};

InterruptedBySignals::InterruptedBySignals(std::shared_ptr<Interruption> interruption,
                                           std::chrono::milliseconds timeout) {
    if (!interruption) {
        return;
    }
    state = std::make_unique<State>(std::move(interruption), timeout);
    state->watch.emplace(quittingSignals(), [watched = state.get()](int signal) { watched->handle(signal); });
}

InterruptedBySignals::~InterruptedBySignals() {
    if (!state) {
        return;
    }
    {
        const std::lock_guard lock(state->mutex);
        state->isOver = true;
    }
    state->changed.notify_all();
    state->watch.reset();
    if (state->received) {
        endBy(*state->received);
    }
}

} // namespace tavo
