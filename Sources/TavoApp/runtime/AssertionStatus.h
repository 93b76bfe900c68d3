#pragma once

#include "base/RawValues.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// What a service answered to the assertion's child.
enum class AssertionReportState { held, asked, refused, lost };

template <>
struct RawValues<AssertionReportState> {
    static constexpr RawValueTable<AssertionReportState, 4> table{{
        {AssertionReportState::held, "held"},
        {AssertionReportState::asked, "asked"},
        {AssertionReportState::refused, "refused"},
        {AssertionReportState::lost, "lost"},
    }};
};

/// One line that the assertion's child printed: "SERVICE STATE WHAT[; NOTICE]", as in "logind held idle:sleep".
struct AssertionReport {
    std::string service;
    AssertionReportState state = AssertionReportState::held;

    /// What is, or was to be, held off: "idle", "idle:sleep", "suspend".
    std::string what;

    /// What is held less than what was asked for, as a sentence for the user; empty when nothing is.
    std::string notice;

    bool operator==(const AssertionReport&) const = default;
};

/// Reads one line of the assertion's child; gives nothing for any other text.
std::optional<AssertionReport> parseAssertionReport(std::string_view line);

/// The locks of the running assertion's child, in its own words or by its command line. May be called from any thread.
class AssertionStatus {
public:
    /// Stands for one child. What an earlier child still says is dropped.
    using Token = std::uint64_t;

    /// A new child takes the assertion status over, with nothing on it.
    Token open();

    /// The newest report of a service takes the place of its earlier one.
    void record(Token token, AssertionReport report);

    /// The child has ended, or was told to. Nothing that it may still have said counts after that.
    void close(Token token);

    /// In the order in which the services first reported.
    std::vector<AssertionReport> reports() const;

    /// What is held less than planned, in the child's words; absent when all is held.
    std::optional<std::string> notice() const;

    /// What is held in one line, as in "idle:sleep (logind), suspend (gnome)"; empty when nothing is.
    std::string summary() const;

    /// Called after every change, on the thread that made it, without a lock held.
    void onChange(std::function<void()> callback);

private:
    void changed();

    mutable std::mutex mutex;
    Token current = 0;
    std::vector<AssertionReport> latestReports;
    std::function<void()> callback;
};

} // namespace tavo
