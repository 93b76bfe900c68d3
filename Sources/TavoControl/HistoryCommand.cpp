#include "TavoControl/HistoryCommand.h"

#include "TavoControl/AwakeChart.h"
#include "TavoControl/LocalTime.h"
#include "base/Duration.h"
#include "base/JsonCoding.h"
#include "base/Text.h"
#include "base/WrappedText.h"
#include "config/HistoryFile.h"
#include "system/ProcessStart.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>

namespace tavo {

namespace {

/// For output without a width of its own, such as a file.
constexpr std::size_t ordinaryWidth = 100;

using Row = std::array<std::string, 5>;

std::chrono::seconds lengthOf(const AwakePeriod& period) {
    return std::chrono::duration_cast<std::chrono::seconds>(period.to - period.from);
}

std::string dateAndClock(TimePoint at) {
    return localDate(at) + " " + localClock(at);
}

AwakeChart chartOf(const HistoryFacts& facts) {
    std::vector<AwakeChart::Span> spans;
    for (const auto& period : facts.periods) {
        spans.emplace_back(period.from, period.to);
    }
    return AwakeChart(std::move(spans), std::max(facts.since, std::min(facts.begun.value_or(facts.now), facts.now)),
                      facts.now);
}

Json asJson(const AwakePeriod& period) {
    Json object{{"from", formatISO8601(period.from)},
                {"seconds", lengthOf(period).count()},
                {"program", period.writer.program},
                {"processID", period.writer.processID},
                {"names", period.names},
                {"held", period.held},
                {"ending", rawValue(period.ending)},
                {"text", endingText(period)}};
    if (period.ending != HistoryEnding::ongoing) {
        object["to"] = formatISO8601(period.to);
    }
    if (period.ending == HistoryEnding::decision) {
        object["reason"] = rawValue(period.reason);
    }
    return object;
}

std::string skippedText(std::size_t count) {
    return fmt::format("{} of history.jsonl could not be read, and {} left out.",
                       count == 1 ? "one line" : fmt::format("{} lines", count), count == 1 ? "is" : "are");
}

bool isStillRunning(const HistoryWriter& writer) {
    try {
        return processStart(writer.processID) == writer.startTime;
    } catch (const std::exception&) {
        return false; // cannot be looked at, and is none of this user's then
    }
}

std::optional<TimePoint> lastEvaluation(const TavoStoring& store) {
    try {
        return store.loadRuntimeSnapshot().lastEvaluationDate;
    } catch (const std::exception&) {
        return std::nullopt; // a damaged state file tells nothing
    }
}

} // namespace

HistoryReport::HistoryReport(HistoryFacts given) : facts(std::move(given)) {
    std::erase_if(facts.periods,
                  [&](const AwakePeriod& period) { return period.to < facts.since || period.from > facts.now; });
}

Json HistoryReport::json() const {
    auto periods = Json::array();
    for (const auto& period : facts.periods) {
        periods.push_back(asJson(period));
    }
    return {{"since", formatISO8601(facts.since)},
            {"now", formatISO8601(facts.now)},
            {"awakeSeconds", chartOf(facts).awakeTime().count()},
            {"periods", std::move(periods)},
            {"skippedLines", facts.skippedLines}};
}

std::string HistoryReport::endOf(const AwakePeriod& period) const {
    if (period.ending == HistoryEnding::ongoing) {
        return "now";
    }
    return localDate(period.to) == localDate(period.from) ? localClock(period.to) : dateAndClock(period.to);
}

std::vector<std::string> HistoryReport::table(const Console& console, std::size_t width) const {
    std::vector<Row> rows{{"from", "to", "length", "for", "why it ended"}};
    for (const auto& period : facts.periods) {
        rows.push_back({dateAndClock(period.from), endOf(period), shortDuration(lengthOf(period)),
                        visibleControls(purposeText(period)), visibleControls(endingText(period))});
    }
    std::array<std::size_t, std::tuple_size_v<Row>> widths{};
    std::size_t total = 0;
    for (std::size_t column = 0; column < widths.size(); ++column) {
        for (const auto& row : rows) {
            widths.at(column) = std::max(widths.at(column), characterCount(row.at(column)));
        }
        total += widths.at(column) + 2;
    }
    if (total - 2 > width) {
        return blocks(width);
    }
    std::vector<std::string> lines;
    for (const auto& row : rows) {
        const auto line = fmt::format("{:<{}}  {:<{}}  {:<{}}  {:<{}}  {}", row[0], widths[0], row[1], widths[1],
                                      row[2], widths[2], row[3], widths[3], row[4]);
        lines.push_back(lines.empty() ? console.styled(line, Emphasis::strong) : line);
    }
    return lines;
}

std::vector<std::string> HistoryReport::blocks(std::size_t width) const {
    constexpr std::size_t indentation = 2;
    const auto inner = std::max(width, indentation + 1) - indentation;
    std::vector<std::string> lines;
    const auto add = [&](const std::string& text, bool isFirst) {
        for (const auto& line : wrapped(text, isFirst ? width : inner)) {
            lines.push_back((isFirst ? "" : std::string(indentation, ' ')) + line);
            isFirst = false;
        }
    };
    for (const auto& period : facts.periods) {
        add(fmt::format("{} to {}", dateAndClock(period.from), endOf(period)), true);
        add(fmt::format("{}, for {}: {}", shortDuration(lengthOf(period)), visibleControls(purposeText(period)),
                        visibleControls(endingText(period))),
            false);
    }
    return lines;
}

std::vector<std::string> HistoryReport::lines(const Console& console) const {
    const auto width = console.width();
    std::vector<std::string> result;
    const auto say = [&](const std::string& text) {
        for (auto& line : wrapped(text, width.value_or(std::numeric_limits<std::size_t>::max()))) {
            result.push_back(std::move(line));
        }
    };
    const auto asked = formatDuration(std::chrono::duration_cast<std::chrono::seconds>(facts.now - facts.since));
    if (!facts.begun) {
        say("there is no history yet: tavo and tavoctl run write it while they run.");
    } else if (facts.periods.empty()) {
        say(fmt::format("nothing was kept awake within the last {}.", asked));
    } else {
        result = table(console, width.value_or(std::numeric_limits<std::size_t>::max()));
        const auto chart = chartOf(facts);
        result.emplace_back();
        for (auto& line : chart.lines(console, width.value_or(ordinaryWidth))) {
            result.push_back(std::move(line));
        }
        result.emplace_back();
        say(fmt::format("kept awake for {} of the last {}.", shortDuration(chart.awakeTime()), asked));
    }
    if (facts.skippedLines > 0) {
        say(skippedText(facts.skippedLines));
    }
    return result;
}

ExitStatus printHistory(const HistoryOptions& options, const TavoStoring& store) {
    const auto now = std::chrono::system_clock::now();
    const auto content = HistoryFile(store.paths().historyURL()).read();
    HistoryFacts facts{.since = now - options.since, .now = now, .skippedLines = content.skippedLines};
    if (!content.entries.empty()) {
        facts.begun = content.entries.front().time;
    }
    facts.periods =
        awakePeriods(content.entries, {.now = now, .isRunning = isStillRunning, .lastSeen = lastEvaluation(store)});
    const HistoryReport report(std::move(facts));
    const Console console(stdout);
    if (options.json) {
        console.print(shownJson(report.json()));
    } else {
        for (const auto& line : report.lines(console)) {
            console.print(line);
        }
    }
    return ExitStatus::success;
}

} // namespace tavo
