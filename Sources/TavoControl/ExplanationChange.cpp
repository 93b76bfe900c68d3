#include "TavoControl/Explanation.h"
#include "app/StatusCopy.h"

#include <fmt/format.h>

namespace tavo {

/// Whether an option of the running Tavo decides the step, and not the file.
bool Explanation::isOverridden(DecisionStep step) const {
    switch (step) {
    case DecisionStep::masterSwitch:
    case DecisionStep::trigger:
        return facts.overrides.trigger.has_value();
    case DecisionStep::powerSource:
        return facts.overrides.powerSourcePolicy.has_value();
    case DecisionStep::batteryCutoff:
        return facts.overrides.batteryCutoffPercent.has_value();
    case DecisionStep::closedLid:
        return facts.overrides.watchMode.has_value();
    case DecisionStep::assertion:
        break;
    }
    return false;
}

std::string Explanation::change() const {
    if (facts.status.isStopped) {
        return fmt::format("fg, or kill -CONT {}, continues it.", facts.status.runningProcessID.value_or(0));
    }
    const auto step = decidingStep(snapshot());
    if (!step) {
        // While switched off, Tavo first evaluates a minute after its start, and would find nothing but the switch.
        return config().isEnabled ? "nothing has been evaluated yet; the first evaluation is under way."
                                  : "nothing has been evaluated yet; tavoctl enable switches keeping awake on.";
    }
    if (!isRunning() && snapshot().lastDecisionReason == RuntimeDecisionReason::active) {
        return "start tavo or tavoctl run to keep it awake.";
    }
    if (snapshot().lastDecisionReason == RuntimeDecisionReason::active) {
        return changeOfAwake();
    }
    return changeOf(*step);
}

std::string Explanation::changeOf(DecisionStep step) const {
    const bool isOption = isRunning() && isOverridden(step);
    switch (step) {
    case DecisionStep::masterSwitch:
        return "tavoctl enable switches keeping awake on.";
    case DecisionStep::powerSource: {
        const std::string plug = config().powerSourcePolicy == PowerSourcePolicy::acOnly ? "plug it in" : "unplug it";
        return isOption ? fmt::format("{}, or start the run without --power.", plug)
                        : fmt::format("{}, or allow any source: tavoctl set powerSourcePolicy any.", plug);
    }
    case DecisionStep::batteryCutoff:
        return fmt::format("charge it above {}%, or {}.", config().batteryCutoffPercent.value_or(0),
                           isOption ? "start the run with another --cutoff"
                                    : "lower the cutoff: tavoctl set batteryCutoffPercent");
    case DecisionStep::trigger:
        return changeOfTrigger();
    case DecisionStep::closedLid:
        return isOption ? "tavoctl helper install grants it, and --lid open needs no helper."
                        : "tavoctl helper install grants it, and tavoctl set watchMode open needs no helper.";
    case DecisionStep::assertion:
        break;
    }
    return "tavoctl doctor tells what is missing.";
}

std::string Explanation::changeOfTrigger() const {
    const auto name = shortDisplayName(config().trigger);
    const bool isOption = isRunning() && isOverridden(DecisionStep::trigger);
    const std::string other =
        isOption ? "start the run with another trigger" : "choose another trigger: tavoctl preset, tavoctl match";
    switch (snapshot().lastDecisionReason) {
    case RuntimeDecisionReason::insufficientActivity:
        return fmt::format("as soon as {} works, this {} is kept awake again.", name, facts.status.machineNoun);
    case RuntimeDecisionReason::maxDurationReached:
        return fmt::format("a new session begins once {} has ended and started again.", name);
    default:
        break;
    }
    return fmt::format("start {}, or {}.", name, other);
}

/// For a computer that is kept awake: when it may sleep again.
std::string Explanation::changeOfAwake() const {
    std::string text;
    const auto& matches = snapshot().matchedProcesses;
    if (matches.size() == 1) {
        text = fmt::format("it may sleep when {} (process id {}) has ended", matches.front().executableName,
                           matches.front().pid);
    } else if (!matches.empty()) {
        text = fmt::format("it may sleep when all {} processes have ended", matches.size());
    } else {
        text = isOverridden(DecisionStep::masterSwitch) ? "it may sleep when that run is ended"
                                                        : "it may sleep after tavoctl disable";
    }
    if (config().powerSourcePolicy == PowerSourcePolicy::acOnly) {
        text += ", or when it is unplugged";
    } else if (config().powerSourcePolicy == PowerSourcePolicy::batteryOnly) {
        text += ", or when it is plugged in";
    }
    if (config().batteryCutoffPercent && facts.status.power.batteryPercent) {
        text += fmt::format(", or at {}% of battery", *config().batteryCutoffPercent);
    }
    return text + ".";
}

} // namespace tavo
