#include "TavoControl/Explanation.h"

#include "app/StatusCopy.h"
#include "base/Text.h"
#include "base/WrappedText.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace tavo {

namespace {

std::string_view nameOf(DecisionStep step) {
    switch (step) {
    case DecisionStep::masterSwitch:
        return "switch";
    case DecisionStep::powerSource:
        return "power";
    case DecisionStep::batteryCutoff:
        return "battery";
    case DecisionStep::trigger:
        return "trigger";
    case DecisionStep::closedLid:
        return "lid";
    case DecisionStep::assertion:
        return "held";
    }
    return "";
}

std::string_view sourceText(CurrentPowerSource source) {
    switch (source) {
    case CurrentPowerSource::ac:
        return "on ac";
    case CurrentPowerSource::battery:
        return "on battery";
    case CurrentPowerSource::unknown:
        break;
    }
    return "source unknown";
}

std::string_view policyText(PowerSourcePolicy policy) {
    switch (policy) {
    case PowerSourcePolicy::acOnly:
        return "only ac is allowed";
    case PowerSourcePolicy::batteryOnly:
        return "only battery is allowed";
    case PowerSourcePolicy::any:
        break;
    }
    return "any source is allowed";
}

std::string_view helperText(PrivilegedHelperInstallState state) {
    switch (state) {
    case PrivilegedHelperInstallState::notInstalled:
        return "the helper is not installed";
    case PrivilegedHelperInstallState::installedUnreachable:
        return "the helper is installed and does not answer";
    case PrivilegedHelperInstallState::ready:
        break;
    }
    return "the helper is ready";
}

std::string batteryText(const AppConfig& config, const PowerStatus& power) {
    const auto level =
        power.batteryPercent ? fmt::format("at {}%", *power.batteryPercent) : std::string("no battery level");
    const auto cutoff = config.batteryCutoffPercent ? fmt::format("cutoff at {}%", *config.batteryCutoffPercent)
                                                    : std::string("no cutoff");
    return level + "; " + cutoff;
}

} // namespace

Explanation::Explanation(ExplanationFacts given) : facts(std::move(given)) {
    const auto decided = decidingStep(snapshot());
    bool isReached = true;
    for (const auto step : allCases<DecisionStep>()) {
        auto entry = explain(step);
        entry.verdict = step == decided ? StepVerdict::decided
                        : isReached     ? StepVerdict::passed
                                        : StepVerdict::notReached;
        // A trigger that has decided for keeping awake leads on to the steps that carry it out.
        isReached =
            isReached && decided && (step != decided || snapshot().lastDecisionReason == RuntimeDecisionReason::active);
        explained.push_back(std::move(entry));
    }
}

RuntimeStatusCopy Explanation::headline() const {
    if (isRunning()) {
        return StatusReport(facts.status).currentCopy();
    }
    const auto would = RuntimeStatusCopy::make(config(), snapshot(), facts.status.power, facts.status.machineNoun);
    if (snapshot().lastDecisionReason == RuntimeDecisionReason::active) {
        return {"not running",
                fmt::format("a running tavo would keep this {} awake: {}", facts.status.machineNoun, would.detail)};
    }
    return {"not running", fmt::format("a running tavo would say: {}, {}", would.title, would.detail)};
}

ExplainedStep Explanation::explain(DecisionStep step) const {
    return {.step = step, .text = textOf(step), .values = valuesOf(step)};
}

std::string Explanation::textOf(DecisionStep step) const {
    switch (step) {
    case DecisionStep::masterSwitch:
        return config().isEnabled ? "keeping awake is switched on" : "keeping awake is switched off";
    case DecisionStep::powerSource:
        return fmt::format("{}; {}", sourceText(facts.status.power.source), policyText(config().powerSourcePolicy));
    case DecisionStep::batteryCutoff:
        return batteryText(config(), facts.status.power);
    case DecisionStep::trigger:
        return triggerText();
    case DecisionStep::closedLid:
        return lidText();
    case DecisionStep::assertion:
        break;
    }
    return assertionText();
}

std::string Explanation::matchText(const MatchedProcessSnapshot& process) const {
    auto text = fmt::format("{} (process id {}", process.executableName, process.pid);
    const auto tree = std::find_if(facts.trees.begin(), facts.trees.end(),
                                   [&](const auto& candidate) { return candidate.pid == process.pid; });
    if (tree == facts.trees.end()) {
        text += ", ended";
    } else {
        text += tree->size == 1 ? std::string() : fmt::format(", a tree of {}", tree->size);
        text += tree->cpuPercent ? fmt::format(", {:.1f}% of a core", *tree->cpuPercent) : std::string();
    }
    return text + workText(process.pid) + ")";
}

std::string Explanation::workText(std::int32_t pid) const {
    if (!facts.activity) {
        return {};
    }
    const auto& trees = facts.activity->trees;
    const auto tree = std::find_if(trees.begin(), trees.end(), [&](const auto& each) { return each.pid == pid; });
    if (tree == trees.end()) {
        return {};
    }
    switch (tree->verdict) {
    case WorkVerdict::firstSighting:
        return ", works: seen for the first time";
    case WorkVerdict::busy:
        return ", works";
    case WorkVerdict::membersChanged:
        return ", works: its processes changed";
    case WorkVerdict::idle:
        break;
    }
    return ", idle";
}

std::string Explanation::triggerText() const {
    constexpr std::size_t maxShown = 8;
    const auto name = shortDisplayName(config().trigger);
    if (config().trigger.mode == TriggerMode::always) {
        return name;
    }
    const auto& matches = snapshot().matchedProcesses;
    if (matches.empty()) {
        return name + (snapshot().lastDecisionReason == RuntimeDecisionReason::noMatchingProcess
                           ? ": no process matches"
                           : "");
    }
    std::string list;
    for (std::size_t index = 0; index < std::min(matches.size(), maxShown); ++index) {
        list += (index == 0 ? "" : ", ") + matchText(matches[index]);
    }
    if (matches.size() > maxShown) {
        list += fmt::format(" and {} more", matches.size() - maxShown);
    }
    const auto* const state = snapshot().lastDecisionReason == RuntimeDecisionReason::insufficientActivity
                                  ? ", which does not work"
                              : snapshot().lastDecisionReason == RuntimeDecisionReason::maxDurationReached
                                  ? ", and the session limit is reached"
                                  : "";
    const auto grace = facts.activity ? facts.activity->graceText(facts.status.now) : std::string();
    return fmt::format("{}: matches {}{}{}", name, list, state, grace.empty() ? "" : "; " + grace);
}

std::string Explanation::lidText() const {
    switch (config().watchMode) {
    case WatchMode::open:
        return "open; no helper is needed";
    case WatchMode::closed:
    case WatchMode::both:
        break;
    }
    return fmt::format("{}; {}", config().watchMode == WatchMode::closed ? "closed" : "open and closed",
                       facts.helper ? helperText(*facts.helper) : "the helper's state is unknown");
}

std::string Explanation::assertionText() const {
    std::string held;
    for (const auto& assertion : facts.status.held.value_or(std::vector<HeldAssertion>())) {
        held += (held.empty() ? "" : ", ") + fmt::format("{} (process id {})", assertion.what, assertion.pid);
    }
    if (!facts.status.held) {
        held = "unknown: " + facts.status.heldError;
    }
    if (snapshot().lastDecisionReason == RuntimeDecisionReason::error) {
        return fmt::format("{}; the evaluation failed: {}", held.empty() ? "nothing" : held,
                           snapshot().lastError.value_or("for an unknown reason."));
    }
    return (held.empty() ? "nothing" : held) +
           (facts.status.assertionNotice.empty() ? "" : "; " + facts.status.assertionNotice);
}

std::vector<std::string> Explanation::stepLines(const Console& console, std::optional<std::size_t> width) const {
    constexpr std::size_t nameWidth = 8;
    constexpr std::size_t indentation = 2 + nameWidth + 1;
    constexpr std::size_t narrow = 30;
    const auto whole = width.value_or(std::numeric_limits<std::size_t>::max());
    // Where two columns do not fit, the text has lines of its own.
    const bool isNarrow = whole < narrow;
    const auto indent = isNarrow ? std::string(2, ' ') : std::string(indentation, ' ');
    std::vector<std::string> result;
    for (const auto& step : explained) {
        const bool isDecisive = step.verdict == StepVerdict::decided;
        const auto name = fmt::format("{} {:<{}}", isDecisive ? ">" : " ", nameOf(step.step), isNarrow ? 0 : nameWidth);
        const auto head = console.styled(name, isDecisive ? Emphasis::strong : Emphasis::none);
        const auto text =
            visibleControls(step.text) + (step.verdict == StepVerdict::notReached ? " (not reached)" : "");
        bool isFirst = true;
        if (isNarrow) {
            result.push_back(head);
            isFirst = false;
        }
        for (const auto& line : wrapped(text, whole - indent.size())) {
            result.push_back(isFirst ? head + " " + line : indent + line);
            isFirst = false;
        }
    }
    return result;
}

std::vector<std::string> Explanation::lines(const Console& console, std::optional<std::size_t> width) const {
    const auto whole = width.value_or(std::numeric_limits<std::size_t>::max());
    const auto copy = headline();
    const bool isAwake = isRunning() && StatusReport(facts.status).isKeepingAwake();
    std::vector<std::string> result;
    const auto title = visibleControls(copy.title) + ":";
    for (const auto& line : wrapped(title + " " + visibleControls(copy.detail), whole)) {
        const bool isTitle = result.empty() && line.starts_with(title);
        result.push_back(isTitle ? console.styled(title, isAwake ? Emphasis::good : Emphasis::strong) +
                                       line.substr(title.size())
                                 : line);
    }
    for (auto& line : stepLines(console, width)) {
        result.push_back(std::move(line));
    }
    for (auto& line : wrapped(visibleControls(change()), whole)) {
        result.push_back(std::move(line));
    }
    return result;
}

} // namespace tavo
