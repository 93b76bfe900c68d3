#pragma once

#include "TavoControl/Console.h"
#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/HistoryPeriods.h"
#include "base/Json.h"
#include "config/TavoStore.h"

#include <string>
#include <vector>

namespace tavo {

/// The facts that "tavoctl history" prints.
struct HistoryFacts {
    TimePoint since;
    TimePoint now;

    /// When the oldest line was written; absent when there is none.
    std::optional<TimePoint> begun;

    /// All periods, see awakePeriods().
    std::vector<AwakePeriod> periods;
    std::size_t skippedLines = 0;
};

/// When the computer was kept awake, as a table, as drawn days, and as JSON.
class HistoryReport {
public:
    /// Periods that ended before `since` are left out.
    explicit HistoryReport(HistoryFacts facts);

    Json json() const;
    std::vector<std::string> lines(const Console& console) const;

private:
    std::vector<std::string> table(const Console& console, std::size_t width) const;
    std::vector<std::string> blocks(std::size_t width) const;
    std::string endOf(const AwakePeriod& period) const;

    HistoryFacts facts;
};

/// Prints when this computer was kept awake, for what, and why it ended. @throws std::system_error, UntrustedPathError.
ExitStatus printHistory(const HistoryOptions& options, const TavoStoring& store);

} // namespace tavo
