#include "TavoControl/DoctorCommand.h"

#include "TavoControl/Console.h"
#include "base/JsonCoding.h"
#include "base/Text.h"
#include "base/WrappedText.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace tavo {

namespace {

/// The column of the text after verdict and subject.
constexpr std::size_t textColumn = 30;

/// On a narrower terminal the text goes below verdict and subject.
constexpr std::size_t minTableWidth = 70;

Emphasis emphasisOf(CheckVerdict verdict) {
    switch (verdict) {
    case CheckVerdict::fine:
        return Emphasis::good;
    case CheckVerdict::limited:
        return Emphasis::warning;
    default:
        return Emphasis::bad;
    }
}

Json asJson(const SystemCheck& check) {
    return {{"subject", check.subject},
            {"verdict", rawValue(check.verdict)},
            {"finding", check.finding},
            {"advice", check.advice}};
}

void printCheck(const SystemCheck& check, const Console& console) {
    // Padded before it is styled: the codes have no width on the screen.
    const auto verdict = fmt::format("{:<12}", rawValue(check.verdict));
    const auto head = fmt::format("{} {:<16}", console.styled(verdict, emphasisOf(check.verdict)), check.subject);
    const auto width = console.width().value_or(std::numeric_limits<std::size_t>::max());
    const bool isNarrow = width < minTableWidth;
    const std::string indent(isNarrow ? 2 : textColumn, ' ');
    if (isNarrow) {
        console.print(
            fmt::format("{} {}", console.styled(rawValue(check.verdict), emphasisOf(check.verdict)), check.subject));
    }
    bool isFirst = !isNarrow;
    for (const auto& text : {visibleControls(check.finding), check.advice}) {
        for (const auto& line : wrapped(text, width - indent.size())) {
            if (!line.empty()) {
                console.print(isFirst ? fmt::format("{} {}", head, line) : indent + line);
                isFirst = false;
            }
        }
    }
}

} // namespace

ExitStatus printChecks(const DoctorOptions& options, const std::vector<SystemCheck>& checks) {
    const Console console(stdout);
    if (options.json) {
        auto list = Json::array();
        for (const auto& check : checks) {
            list.push_back(asJson(check));
        }
        console.print(shownJson(list));
    } else {
        for (const auto& check : checks) {
            printCheck(check, console);
        }
    }
    const auto has = [&](CheckVerdict verdict) {
        return std::any_of(checks.begin(), checks.end(), [&](const auto& check) { return check.verdict == verdict; });
    };
    if (has(CheckVerdict::unavailable)) {
        return ExitStatus::systemUnavailable;
    }
    return has(CheckVerdict::broken) ? ExitStatus::failure : ExitStatus::success;
}

} // namespace tavo
