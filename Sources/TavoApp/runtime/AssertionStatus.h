#pragma once

#include "system/AssertionReport.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// The locks of the running assertion's child, in its own words or by its command line. May be called from any thread.
class AssertionStatus {
public:
    /// Stands for one child. Reports of an earlier child are dropped.
    using Token = std::uint64_t;

    /// A new child replaces the last one, with no reports yet.
    Token open();

    /// The newest report of a service replaces its earlier one.
    void record(Token token, AssertionReport report);

    /// The child has ended, or was asked to. None of its later reports count.
    void close(Token token);

    /// In the order in which the services first reported.
    std::vector<AssertionReport> reports() const;

    /// The planned locks that could not be taken, in the child's words; absent when all are held.
    std::optional<std::string> notice() const;

    /// The locks held, in one line, as in "idle:sleep (logind), suspend (gnome)"; empty when nothing is.
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
