#include "TavoInhibit/DesktopInhibition.h"

#include <algorithm>

namespace tavo {

void DesktopInhibition::busConnected(sd_bus& bus) {
    try {
        for (const auto& service : desktopServices()) {
            inhibitors.push_back(
                std::make_unique<DesktopInhibitor>(bus, service, report, patience, [this] { settle(); }));
        }
    } catch (const std::system_error&) {
        // Only a connection that is ending refuses to send; busEnded() is on its way.
    }
    updateReportTimer();
}

void DesktopInhibition::busEnded() {
    for (const auto& inhibitor : inhibitors) {
        inhibitor->busEnded();
    }
    inhibitors.clear();
    updateReportTimer();
}

void DesktopInhibition::release() {
    for (const auto& inhibitor : inhibitors) {
        inhibitor->release();
    }
    inhibitors.clear();
    reportTimer.reset();
}

void DesktopInhibition::settle() {
    for (const auto& inhibitor : inhibitors) {
        if (!inhibitor->isLastResort()) {
            inhibitor->ask();
        }
    }
    const auto held = anyAnswerableIs(DesktopInhibitor::State::holding);
    const auto undecided = anyAnswerableIs(DesktopInhibitor::State::pending);
    for (const auto& inhibitor : inhibitors) {
        if (inhibitor->isLastResort() && held) {
            inhibitor->release();
        } else if (inhibitor->isLastResort() && !undecided) {
            inhibitor->ask();
        }
    }
    updateReportTimer();
}

void DesktopInhibition::reportWhenNobodyAccepts() {
    isReportWanted = true;
    updateReportTimer();
}

void DesktopInhibition::updateReportTimer() {
    using State = DesktopInhibitor::State;
    // The line of a service that answered stands for the desktop, and replaces ours.
    const auto hasAnswer = anyIs(State::holding) || anyIs(State::refused);
    if (hasAnswer || anyIs(State::unconfirmed)) {
        hasReported = false;
    }
    if (!isReportWanted || hasAnswer || hasReported) {
        reportTimer.reset();
        return;
    }
    const auto isUndecided = anyIs(State::pending) || anyIs(State::unconfirmed);
    startReportTimer(isUndecided ? patience.whileUndecided : patience.whileNobodyAnswers);
}

void DesktopInhibition::startReportTimer(std::chrono::microseconds wait) {
    if (reportTimer && reportWait == wait) {
        return;
    }
    reportWait = wait;
    if (startTimer(event, reportTimer, wait, onReportTimer, this) < 0) {
        reportRefusal();
    }
}

int DesktopInhibition::onReportTimer(sd_event_source*, std::uint64_t, void* self) noexcept {
    auto& inhibition = *static_cast<DesktopInhibition*>(self);
    inhibition.reportTimer.reset();
    inhibition.reportRefusal();
    return 0;
}

void DesktopInhibition::reportRefusal() {
    hasReported = true;
    report.post({AssertionService::desktop, AssertionReportState::refused, "suspend", nobodyAcceptedNotice()});
}

bool DesktopInhibition::anyIs(DesktopInhibitor::State state) const {
    return std::any_of(inhibitors.begin(), inhibitors.end(),
                       [state](const auto& inhibitor) { return inhibitor->state() == state; });
}

bool DesktopInhibition::anyAnswerableIs(DesktopInhibitor::State state) const {
    return std::any_of(inhibitors.begin(), inhibitors.end(), [state](const auto& inhibitor) {
        return !inhibitor->isLastResort() && inhibitor->state() == state;
    });
}

} // namespace tavo
