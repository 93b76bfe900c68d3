#include "TavoControl/RunReport.h"

#include "TavoControl/LocalTime.h"
#include "base/JsonCoding.h"
#include "base/Text.h"

#include <fmt/format.h>

namespace tavo {

namespace {

std::string dumped(const Json& object) {
    constexpr int onOneLine = -1;
    return shownJson(object, onOneLine);
}

Emphasis emphasisOf(RuntimeDecisionReason reason) {
    switch (reason) {
    case RuntimeDecisionReason::active:
        return Emphasis::good;
    case RuntimeDecisionReason::error:
        return Emphasis::bad;
    default:
        return Emphasis::strong;
    }
}

/// The process that it is for: the first one, and how many more there are.
std::string processNote(const std::vector<MatchedProcessSnapshot>& processes) {
    if (processes.empty()) {
        return {};
    }
    const auto others = processes.size() > 1 ? fmt::format(" and {} more", processes.size() - 1) : std::string();
    return fmt::format(" (process id {}{})", processes.front().pid, others);
}

} // namespace

Json RunLine::json(TimePoint at) const {
    Json object{{"time", formatISO8601(at)},
                {"decision", rawValue(reason)},
                {"title", title},
                {"detail", detail},
                {"held", held},
                {"matchedProcesses", matchedProcesses}};
    if (work) {
        object["work"] = {{"isWorking", work->isWorking}, {"text", work->text}};
    }
    if (until) {
        object["until"] = formatISO8601(*until);
    }
    if (notice) {
        object["notice"] = *notice;
    }
    return object;
}

std::string RunLine::text(const Console& console) const {
    return console.styled(visibleControls(title), emphasisOf(reason)) + rest();
}

std::string RunLine::plainText() const {
    return visibleControls(title) + rest();
}

std::string RunLine::rest() const {
    return fmt::format(": {}{}{}; holding {}{}", visibleControls(detail), processNote(matchedProcesses),
                       work ? "; " + visibleControls(work->text) : "", held.empty() ? "nothing" : visibleControls(held),
                       bound.empty() ? "" : "; " + bound);
}

void RunReport::printLine(const RunLine& line, TimePoint at) {
    // Compared as printed: words show less of the processes than JSON does.
    const auto content = json ? dumped(line.json(TimePoint())) : line.text(console);
    if (content == lastLine) {
        return;
    }
    lastLine = content;
    console.print(json ? dumped(line.json(at)) : localClockWithSeconds(at) + "  " + content);
}

void RunReport::update(const RunLine& line, const std::optional<std::string>& configFileError, TimePoint at) {
    printLine(line, at);
    if (!json && line.notice && line.notice != lastNotice) {
        printNotice(*line.notice, at);
        lastNotice = line.notice;
    }
    if (configFileError && configFileError != lastConfigFileError) {
        printNotice("config.json cannot be used, so what it said before stays in force: " + *configFileError, at);
    }
    lastConfigFileError = configFileError;
}

void RunReport::end(const std::string& why, TimePoint at) const {
    console.print(
        json ? dumped({{"time", formatISO8601(at)}, {"ended", why}})
             : fmt::format("{}  {}: {}", localClockWithSeconds(at), console.styled("ended", Emphasis::strong), why));
}

void RunReport::printNotice(const std::string& notice, TimePoint at) const {
    if (json) {
        console.print(dumped({{"time", formatISO8601(at)}, {"notice", notice}}));
        return;
    }
    console.print(fmt::format("{}  {}: {}", localClockWithSeconds(at), console.styled("notice", Emphasis::warning),
                              visibleControls(notice)));
}

} // namespace tavo
