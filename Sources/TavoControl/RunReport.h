#pragma once

#include "TavoControl/Console.h"
#include "app/TavoAppModel.h"
#include "base/Json.h"

#include <optional>
#include <string>

namespace tavo {

/// One line of a run's output.
struct RunLine {
    /// Of a run that stays awake only while programs work.
    struct Work {
        bool isWorking = false;

        /// See WorkActivity::text().
        std::string text;

        bool operator==(const Work&) const = default;
    };

    RuntimeDecisionReason reason = RuntimeDecisionReason::idle;
    std::string title;
    std::string detail;

    /// The held locks, in one line; empty when there are none.
    std::string held;
    std::vector<MatchedProcessSnapshot> matchedProcesses;
    std::optional<Work> work;
    std::optional<std::string> notice;

    /// When the run ends by itself, see RunBound::text(); empty when it does not.
    std::string bound = {};

    /// By the clock.
    std::optional<TimePoint> until = {};

    bool operator==(const RunLine&) const = default;

    Json json(TimePoint at) const;

    /// Without the time.
    std::string text(const Console& console) const;

    /// The same for a reader who is no terminal.
    std::string plainText() const;

private:
    /// The text that follows the title.
    std::string rest() const;
};

/// Prints a line whenever it would differ from the last one. A notice is printed once, on a line of its own (with JSON,
/// in the object).
class RunReport {
public:
    RunReport(Console console, bool json) : console(console), json(json) {}

    /// @throws OutputError
    void update(const RunLine& line, const std::optional<std::string>& configFileError, TimePoint at);

    /// The last line of a run that has ended by itself. @throws OutputError
    void end(const std::string& why, TimePoint at) const;

private:
    void printLine(const RunLine& line, TimePoint at);
    void printNotice(const std::string& notice, TimePoint at) const;

    Console console;
    bool json;
    /// The last line printed, without its time.
    std::optional<std::string> lastLine;
    std::optional<std::string> lastNotice;
    std::optional<std::string> lastConfigFileError;
};

} // namespace tavo
