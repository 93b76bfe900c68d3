#pragma once

#include "base/DescribedError.h"
#include "base/SharedText.h"
#include "base/Time.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// One process at one moment.
struct ProcessSample {
    std::int32_t pid = 0;
    std::int32_t parentPID = 0;

    /// User and system time used so far, in seconds.
    double cpuTimeSeconds = 0;

    /// The file name of the executable, without its folder. Valid UTF-8.
    SharedText executableName;

    /// The program and its arguments; the executable name where the system gives no arguments. Valid UTF-8.
    SharedText commandLine;

    /// When it started, see processStart(); absent where the table does not say.
    std::optional<std::uint64_t> startTime = {};

    bool operator==(const ProcessSample&) const = default;
};

/// Every process of the machine.
struct ProcessSnapshot {
    /// The moment that the caller asked for.
    TimePoint capturedAt;

    /// In the system's own order.
    std::vector<ProcessSample> processes;

    bool operator==(const ProcessSnapshot&) const = default;
};

struct ProcessSnapshotProviding {
    virtual ~ProcessSnapshotProviding() = default;

    /// Takes one snapshot, marked with the given moment.
    /// @throws ProcessWatcherError, std::system_error as the implementation says.
    virtual ProcessSnapshot snapshot(TimePoint at) = 0;
};

/// Text about processes that could not be understood.
class ProcessWatcherError final : public DescribedError {
public:
    enum class Kind { invalidPSOutputLine, malformedTimeValue };

    /// @param line  the whole offending line.
    static ProcessWatcherError invalidPSOutputLine(const std::string& line) {
        return {Kind::invalidPSOutputLine, "could not parse ps output line: " + line, line};
    }

    /// @param text  the whole offending time value.
    static ProcessWatcherError malformedTimeValue(const std::string& text) {
        return {Kind::malformedTimeValue, "could not parse cpu time value: " + text, text};
    }

    Kind kind() const { return errorKind; }
    const std::string& payload() const { return offendingText; }

private:
    ProcessWatcherError(Kind kind, const std::string& description, std::string payload)
        : DescribedError(description), errorKind(kind), offendingText(std::move(payload)) {}

    Kind errorKind;
    std::string offendingText;
};

} // namespace tavo
