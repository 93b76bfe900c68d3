#include "TavoInhibit/DesktopInhibition.h"

#include <algorithm>

namespace tavo {

void DesktopInhibition::busConnected(sd_bus& bus) {
    try {
        for (const auto& service : desktopServices()) {
            inhibitors.push_back(std::make_unique<DesktopInhibitor>(bus, service, report, [this] { settle(); }));
        }
    } catch (const std::system_error&) {
        // Only a connection that is ending refuses to send; busEnded() is on its way.
    }
}

void DesktopInhibition::busEnded() {
    for (const auto& inhibitor : inhibitors) {
        inhibitor->busEnded();
    }
    inhibitors.clear();
}

void DesktopInhibition::letGo() {
    for (const auto& inhibitor : inhibitors) {
        inhibitor->release();
    }
    inhibitors.clear();
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
}

bool DesktopInhibition::anyAnswerableIs(DesktopInhibitor::State state) const {
    return std::any_of(inhibitors.begin(), inhibitors.end(), [state](const auto& inhibitor) {
        return !inhibitor->isLastResort() && inhibitor->state() == state;
    });
}

} // namespace tavo
