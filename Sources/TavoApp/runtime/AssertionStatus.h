#pragma once

#include "runtime/AssertionReport.h"

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
