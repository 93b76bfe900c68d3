#include "app/WorkSession.h"

namespace tavo {

WorkSession::WorkSession(const std::optional<WorkRequirement>& requirement, const TavoPaths& paths)
    : file(paths), monitor(requirement ? std::make_shared<WorkMonitor>(*requirement) : nullptr) {
    file.remove();
}

AppConfig WorkSession::required(const AppConfig& config) const {
    auto result = config.validated();
    result.trigger.requiresActivity = isWanted() && result.trigger.mode == TriggerMode::process;
    return result;
}

std::optional<WorkActivity> WorkSession::activity() const {
    return monitor ? monitor->activity() : std::nullopt;
}

void WorkSession::writeActivity() {
    const auto current = activity();
    if (hasEnded || current == written) {
        return;
    }
    written = current;
    if (!current) {
        file.remove();
        return;
    }
    try {
        file.write(*current);
    } catch (const std::exception&) {
        // An outdated entry would be believed.
        file.remove();
    }
}

void WorkSession::evaluated(const AppConfig& config) {
    if (!monitor) {
        return;
    }
    if (!config.isEnabled || config.trigger.mode == TriggerMode::always) {
        monitor->startOver();
    }
    writeActivity();
}

void WorkSession::end() {
    if (isWanted() && !hasEnded) {
        file.remove();
    }
    hasEnded = true;
}

} // namespace tavo
