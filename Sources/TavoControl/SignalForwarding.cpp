#include "TavoControl/SignalForwarding.h"

#include "system/ChildProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

constexpr std::array endingSignals{SIGHUP, SIGINT, SIGQUIT, SIGTERM};
constexpr std::array otherSignals{SIGUSR1, SIGUSR2, SIGALRM, SIGWINCH, SIGTSTP, SIGCONT};

// A handler has nothing else to reach by. Lock-free, as signal-safety(7) asks for.
std::atomic<int> pipeOfHandler{-1};
std::atomic<int> firstEndingSignal{0};

bool asksToEnd(int signal) {
    for (const int ending : endingSignals) {
        if (ending == signal) {
            return true;
        }
    }
    return false;
}

void handle(int signal, siginfo_t* information, void*) {
    const int savedError = errno;
    int none = 0;
    if (asksToEnd(signal)) {
        firstEndingSignal.compare_exchange_strong(none, signal);
    }
    if (isSentByProcess(*information)) {
        const auto byte = static_cast<unsigned char>(signal);
        // A full pipe has plenty of signals to forward already.
        [[maybe_unused]] const auto written = write(pipeOfHandler, &byte, 1);
    }
    errno = savedError;
}

void catchSignal(int signal, const InheritedConditions& conditions) {
    if (conditions.isIgnored(signal)) {
        return;
    }
    struct sigaction action {};
    action.sa_sigaction = handle;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    sigfillset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

} // namespace

SignalForwarding::SignalForwarding(const InheritedConditions& conditions, std::function<void(int)> onSignal) {
    std::array<int, 2> ends{};
    if (!makeClosingPipe(ends)) {
        throw std::system_error(errno, std::generic_category(), "could not make a pipe");
    }
    reading = FileDescriptor(ends[0]);
    writing = FileDescriptor(ends[1]);
    // A handler must not wait.
    if (fcntl(writing.get(), F_SETFL, O_NONBLOCK) < 0) {
        throw std::system_error(errno, std::generic_category(), "could not prepare a pipe");
    }
    firstEndingSignal = 0;
    pipeOfHandler = writing.get();
    thread = std::thread([descriptor = reading.get(), onSignal = std::move(onSignal)] {
        for (;;) {
            unsigned char signal = 0;
            const auto count = read(descriptor, &signal, 1);
            if (count == 1) {
                onSignal(signal);
            } else if (count == 0 || errno != EINTR) {
                return; // the destructor has closed the other end
            }
        }
    });
    for (const int signal : endingSignals) {
        catchSignal(signal, conditions);
    }
    for (const int signal : otherSignals) {
        catchSignal(signal, conditions);
    }
}

SignalForwarding::~SignalForwarding() {
    pipeOfHandler = -1;
    writing = FileDescriptor();
    thread.join();
}

std::optional<int> SignalForwarding::endingSignal() const {
    const int signal = firstEndingSignal;
    return signal == 0 ? std::nullopt : std::optional(signal);
}

} // namespace tavo
