#include "TavoControl/StatusReport.h"

#include "base/Duration.h"
#include "base/JsonCoding.h"
#include "base/Text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace tavo {

namespace {

std::vector<std::string> splitWhat(const std::string& what) {
    std::vector<std::string> words;
    for (std::size_t start = 0; start <= what.size() && !what.empty();) {
        const auto end = std::min(what.find(':', start), what.size());
        words.push_back(what.substr(start, end - start));
        start = end + 1;
    }
    return words;
}

constexpr std::string_view listEntry = "{} (process id {})";

} // namespace

bool StatusReport::isKeepingAwake() const {
    return isPlanned() && facts.held && !facts.held->empty();
}

RuntimeStatusCopy StatusReport::currentCopy() const {
    if (!facts.runningProcessID) {
        return {"not running", fmt::format("tavo does not keep this {} awake", facts.machineNoun)};
    }
    if (facts.isStopped) {
        return {"stopped", isKeepingAwake()
                               ? "tavo decides nothing until it is continued; its locks stay held"
                               : "tavo does not keep this " + facts.machineNoun + " awake until it is continued"};
    }
    if (isPlanned() && !facts.held) {
        return {"uncertain", "tavo means to keep this " + facts.machineNoun +
                                 " awake, but the system cannot be asked whether anything is held"};
    }
    if (isPlanned() && facts.held->empty()) {
        return {"not awake", "the last evaluation wanted this " + facts.machineNoun + " awake, but nothing is held"};
    }
    return RuntimeStatusCopy::make(facts.config, facts.snapshot, facts.power, facts.machineNoun);
}

std::string StatusReport::plannedWhat() const {
    return isPlanned() ? plannedToHoldOff(facts.power.source) : std::string();
}

std::vector<std::string> StatusReport::missing() const {
    if (!facts.isHeldInPlanWords) {
        return {};
    }
    std::vector<std::string> held;
    for (const auto& assertion : facts.held.value_or(std::vector<HeldAssertion>())) {
        const auto words = splitWhat(assertion.what);
        held.insert(held.end(), words.begin(), words.end());
    }
    auto lacking = splitWhat(plannedWhat());
    std::erase_if(lacking, [&](const auto& word) { return std::find(held.begin(), held.end(), word) != held.end(); });
    return lacking;
}

std::string StatusReport::discrepancy() const {
    if (!facts.held) {
        return {};
    }
    const auto lacking = missing();
    if (facts.held->empty()) {
        return isPlanned() ? "the lock is gone; tavo takes a new one within seconds." : "";
    }
    if (!isPlanned()) {
        return facts.runningProcessID
                   ? "more is held than the last evaluation wanted; it is being released."
                   : "no tavo is running, yet a lock of tavo is still held: end the process that holds it.";
    }
    if (lacking.empty()) {
        return facts.assertionNotice;
    }
    // The plan is for the power as it is now; the lock may still be from the moment before a plug came in.
    return fmt::format(
        "less is held than planned: {} {} refused, or the power source has only just changed; so the {} may still be "
        "put to sleep by others. run sudo tavoctl run to hold {} too.",
        fmt::join(lacking, " and "), lacking.size() == 1 ? "was" : "were", facts.machineNoun,
        lacking.size() == 1 ? "it" : "them");
}

std::string StatusReport::notice() const {
    if (facts.isStopped) {
        return fmt::format("tavo is stopped, as by Ctrl-Z: fg or kill -CONT {} continues it.",
                           facts.runningProcessID.value_or(0));
    }
    auto text = discrepancy();
    // Tavo's own decision, not the file, which may be unreadable.
    if (text.empty() && facts.runningProcessID &&
        facts.snapshot.lastDecisionReason == RuntimeDecisionReason::disabled) {
        text = fmt::format("{}.", switchedOffNotice);
    }
    return text;
}

std::string StatusReport::heldText() const {
    if (!facts.held) {
        return "unknown: " + facts.heldError;
    }
    std::vector<std::string> entries;
    for (const auto& assertion : *facts.held) {
        entries.push_back(fmt::format(listEntry, assertion.what, assertion.pid));
    }
    const auto list = entries.empty() ? "nothing" : fmt::format("{}", fmt::join(entries, ", "));
    const bool isAsPlanned = discrepancy().empty() && !facts.isStopped;
    return list + (isAsPlanned ? ", as planned" : "");
}

std::string StatusReport::watchedText(const MatchedProcessSnapshot& process) const {
    auto text =
        fmt::format(listEntry, shownCommandLine(process.commandLine.value_or(process.executableName)), process.pid);
    if (facts.activity) {
        for (const auto& tree : facts.activity->trees) {
            text += tree.pid == process.pid ? ": " + tree.text() : "";
        }
    }
    return text;
}

std::optional<std::int64_t> StatusReport::ageInSeconds() const {
    if (!facts.snapshot.lastEvaluationDate) {
        return std::nullopt;
    }
    const auto age = std::chrono::duration_cast<std::chrono::seconds>(facts.now - *facts.snapshot.lastEvaluationDate);
    return std::max<std::int64_t>(age.count(), 0);
}

Json StatusReport::json() const {
    const auto copy = currentCopy();
    Json object{{"running", facts.runningProcessID.has_value()},
                {"keepingAwake", isKeepingAwake()},
                {"title", copy.title},
                {"detail", copy.detail},
                {"snapshot", facts.snapshot},
                {"power", facts.power},
                {"planned", plannedWhat()}};
    if (facts.runningProcessID) {
        object["processID"] = *facts.runningProcessID;
    }
    if (facts.isStopped) {
        object["stopped"] = true;
    }
    if (const auto age = ageInSeconds()) {
        object["ageSeconds"] = *age;
    }
    if (facts.held) {
        object["held"] = Json::array();
        for (const auto& assertion : *facts.held) {
            object["held"].push_back({{"who", assertion.who}, {"what", assertion.what}, {"pid", assertion.pid}});
        }
    } else {
        object["heldError"] = facts.heldError;
    }
    if (facts.activity) {
        object["activity"] = *facts.activity;
    }
    if (const auto notice = this->notice(); !notice.empty()) {
        object["notice"] = notice;
    }
    return object;
}

std::vector<std::string> StatusReport::lines(const Console& console) const {
    const auto copy = currentCopy();
    std::vector<std::string> result;
    result.push_back(fmt::format(
        "{}: {}", console.styled(visibleControls(copy.title), isKeepingAwake() ? Emphasis::good : Emphasis::strong),
        visibleControls(copy.detail)));
    const auto add = [&](std::string_view name, const std::string& text) {
        result.push_back(fmt::format("  {:<10} {}", name, visibleControls(text)));
    };
    add("tavo",
        facts.runningProcessID ? fmt::format("running (process id {})", *facts.runningProcessID) : "not running");
    for (const auto& process : facts.snapshot.matchedProcesses) {
        if (facts.runningProcessID) {
            add("watches", watchedText(process));
        }
    }
    if (const auto pause = facts.activity ? facts.activity->graceText(facts.now) : std::string(); !pause.empty()) {
        add("work", pause);
    }
    const auto age = ageInSeconds();
    add("evaluated", age ? spokenDuration(*age) + " ago" : "never");
    if (!facts.runningProcessID && age) {
        const auto last = RuntimeStatusCopy::make(facts.config, facts.snapshot, facts.power, facts.machineNoun);
        add("last said", last.title + ": " + last.detail);
    }
    add("held", heldText());
    const bool isPowerKnown = facts.power.source != CurrentPowerSource::unknown || facts.power.batteryPercent;
    add("power", isPowerKnown ? summaryText(facts.power) : "unknown");
    if (const auto notice = this->notice(); !notice.empty()) {
        result.push_back(
            fmt::format("  {:<10} {}", console.styled("notice", Emphasis::warning), visibleControls(notice)));
    }
    return result;
}

std::string shownCommandLine(const std::string& commandLine) {
    constexpr std::size_t maxBytes = 4096; // a single character may be of any length
    constexpr std::size_t maxCharacters = 1000;
    const auto start = repairUTF8(std::string_view(commandLine).substr(0, maxBytes));
    const auto length = prefixLength(start, maxCharacters);
    return length < start.size() || start.size() < commandLine.size() ? start.substr(0, length) + "..." : commandLine;
}

} // namespace tavo
