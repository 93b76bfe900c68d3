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
    considerTelling();
}

void DesktopInhibition::busEnded() {
    for (const auto& inhibitor : inhibitors) {
        inhibitor->busEnded();
    }
    inhibitors.clear();
    considerTelling();
}

void DesktopInhibition::letGo() {
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
    considerTelling();
}

void DesktopInhibition::tellWhenNobodyAccepts() {
    mustTell = true;
    considerTelling();
}

void DesktopInhibition::considerTelling() {
    using State = DesktopInhibitor::State;
    // The line of a service that answered stands for the desktop, and replaces ours.
    const auto hasAnswer = anyIs(State::holding) || anyIs(State::refused);
    if (hasAnswer || anyIs(State::unconfirmed)) {
        hasTold = false;
    }
    if (!mustTell || hasAnswer || hasTold) {
        reportTimer.reset();
        return;
    }
    const auto isUndecided = anyIs(State::pending) || anyIs(State::unconfirmed);
    tellLater(isUndecided ? patience.whileUndecided : patience.whileNobodyAnswers);
}

void DesktopInhibition::tellLater(std::chrono::microseconds wait) {
    if (reportTimer && reportDelay == wait) {
        return;
    }
    reportDelay = wait;
    if (startTimer(event, reportTimer, wait, onReportTimer, this) < 0) {
        tell();
    }
}

int DesktopInhibition::onReportTimer(sd_event_source*, std::uint64_t, void* self) noexcept {
    auto& inhibition = *static_cast<DesktopInhibition*>(self);
    inhibition.reportTimer.reset();
    inhibition.tell();
    return 0;
}

void DesktopInhibition::tell() {
    hasTold = true;
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
