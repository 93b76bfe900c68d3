#include "app/ProcessSignals.h"

#include <pthread.h>

#include <atomic>
#include <thread>
#include <utility>

namespace tavo {

namespace {

sigset_t setOf(const std::vector<int>& signals) {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals) {
        sigaddset(&set, signal);
    }
    return set;
}

bool isIgnored(int signal) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

} // namespace

std::vector<int> quittingSignals() {
    return isIgnored(SIGHUP) ? std::vector{SIGTERM, SIGINT} : std::vector{SIGTERM, SIGINT, SIGHUP};
}

std::vector<int> stoppingSignals() {
    return isIgnored(SIGTSTP) ? std::vector<int>() : std::vector{SIGTSTP};
}

void stopUntilContinued() {
    // SIGSTOP would also stop a process without a shell that could continue it; SIGTSTP does not.
    struct sigaction ordinary {};
    struct sigaction handled {};
    ordinary.sa_handler = SIG_DFL;
    sigemptyset(&ordinary.sa_mask);
    sigaction(SIGTSTP, &ordinary, &handled);
    const auto set = setOf({SIGTSTP});
    sigset_t before{};
    pthread_sigmask(SIG_UNBLOCK, &set, &before);
    std::raise(SIGTSTP);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    sigaction(SIGTSTP, &handled, nullptr);
}

BlockedSignals::BlockedSignals(const std::vector<int>& signals) {
    const auto set = setOf(signals);
    pthread_sigmask(SIG_BLOCK, &set, &before);
}

BlockedSignals::~BlockedSignals() {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

struct SignalWatch::State {
    sigset_t signals{};
    int waking = 0;
    std::function<void(int)> onSignal;
    std::atomic<bool> isEnding = false;
    std::thread thread;
};

SignalWatch::SignalWatch(const std::vector<int>& signals, std::function<void(int)> onSignal)
    : state(std::make_unique<State>()) {
    state->signals = setOf(signals);
    state->waking = signals.front();
    state->onSignal = std::move(onSignal);
    state->thread = std::thread([watched = state.get()] {
        int signal = 0;
        while (sigwait(&watched->signals, &signal) == 0 && !watched->isEnding) {
            watched->onSignal(signal);
        }
    });
}

SignalWatch::~SignalWatch() {
    state->isEnding = true;
    pthread_kill(state->thread.native_handle(), state->waking);
    state->thread.join();
}

} // namespace tavo
