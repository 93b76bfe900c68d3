#pragma once

#include "system/CommandRunning.h"
#include "system/ProcessSnapshot.h"

#include <cstddef>
#include <memory>
#include <string_view>

namespace tavo {

/// Reads the process table by running ps once and parsing its text.
///
/// ps makes a column at least as wide as its header. The long header of the name column therefore puts the arguments at
/// a fixed distance from the start of the name, which keeps names with spaces apart from what follows (ps(1), "-o").
class PSProcessSnapshotProvider final : public ProcessSnapshotProviding {
public:
    static constexpr std::string_view executableColumnHeader =
        "EXECUTABLE____________________________________________________________";

    /// In characters.
    static constexpr std::size_t executableColumnWidth = executableColumnHeader.size();

    explicit PSProcessSnapshotProvider(std::shared_ptr<CommandRunning> runner);

    /// The exit status of ps does not count. @throws what the runner throws, and what parse() throws.
    ProcessSnapshot snapshot(TimePoint at) override;

    /// Parses the whole output, whose first line is the header. @throws ProcessWatcherError at the first line that is
    /// not understood: a snapshot is whole or none.
    static ProcessSnapshot parse(std::string_view output, TimePoint capturedAt);

    /// Parses one line: process id, parent's id, time, then the name and arguments columns.
    /// @throws ProcessWatcherError
    static ProcessSample parseProcessLine(std::string_view line);

    /// Gives seconds for "mm:ss" and "hh:mm:ss", where each may have a decimal fraction and "dd-" in front.
    /// Does not depend on the locale. @throws ProcessWatcherError (malformedTimeValue) with the whole value.
    static double parseCPUTime(std::string_view value);

private:
    std::shared_ptr<CommandRunning> runner;
};

} // namespace tavo
