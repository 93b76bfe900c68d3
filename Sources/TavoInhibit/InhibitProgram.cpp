#include "TavoInhibit/InhibitProgram.h"

#include "TavoInhibit/OwnLocksQuestion.h"

#include <sysexits.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace tavo {

namespace {

EventLoop newEventLoop() {
    EventLoop event;
    checked(sd_event_new(Receive(event)), "make an event loop");
    return event;
}

bool isIgnored(int signal) {
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

bool endsProgram(int signal) {
    return signal == SIGTERM || !isIgnored(signal);
}

constexpr auto endingSignals = {SIGTERM, SIGINT, SIGHUP};

} // namespace

void InhibitProgram::blockEndingSignals() {
    sigset_t blocked;
    sigemptyset(&blocked);
    for (const auto signal : endingSignals) {
        if (endsProgram(signal)) {
            sigaddset(&blocked, signal);
        }
    }
    sigprocmask(SIG_BLOCK, &blocked, nullptr);
}

InhibitProgram::InhibitProgram(bool sleep) : event(newEventLoop()), report(STDOUT_FILENO), desktop(*event, report) {
    for (const auto signal : endingSignals) {
        if (endsProgram(signal)) {
            // Without a handler, the signal ends the loop with status 0.
            checked(sd_event_add_signal(event.get(), nullptr, signal, nullptr, nullptr), "watch for signals");
        }
    }
    input.emplace(*event, STDIN_FILENO, [this] {
        // Before logind's answer nothing is held, and the parent still waits for the answer.
        if (logindHasAnswered) {
            finish(EX_OK);
        }
    });
    lock.emplace(*event, sleep, [this](const LogindLock::Outcome& outcome) { logindAnswered(outcome); });
}

int InhibitProgram::run() {
    const auto status = checked(sd_event_loop(event.get()), "run the event loop");
    // First, since the others only ask for the same in other words, and each of them takes its time.
    lock.reset();
    desktop.release();
    return status;
}

void InhibitProgram::logindAnswered(const LogindLock::Outcome& outcome) {
    logindHasAnswered = true;
    if (outcome.held.empty()) {
        Report(STDERR_FILENO).postText(outcome.text);
        finish(EX_UNAVAILABLE);
        return;
    }
    report.post({AssertionService::logind, AssertionReportState::held, outcome.held, outcome.text});
    if (input->hasEnded()) {
        finish(EX_OK);
        return;
    }
    askDesktop();
}

void InhibitProgram::askDesktop() {
    const auto address = findSessionBus(std::getenv("DBUS_SESSION_BUS_ADDRESS"), std::getenv("XDG_RUNTIME_DIR"));
    if (address) {
        sessionBus.emplace(*event, *address, desktop);
    }
    if (isOrdinaryUserOfDesktop()) {
        ownLocks.emplace(*event, [this](bool areHeeded) {
            if (!areHeeded) {
                desktop.reportWhenNobodyAccepts();
            }
        });
    }
}

void InhibitProgram::finish(int status) {
    sd_event_exit(event.get(), status);
}

} // namespace tavo
