#pragma once

#include "system/CommandRunning.h"
#include "system/ProcessSnapshot.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tavo {

/// Completes what macOS's ps says in PSProcessSnapshotProvider's run of it. That run has to ask for names without their
/// folders (-c), and so it is given
///
/// - command lines that begin after their last slash: "proj" for "node /opt/homebrew/bin/codex -C /Users/me/proj". A
///   second run without -c has them whole.
/// - processes that have ended and were not reaped yet, as "(name)". They are left out, as on Linux; their state is
///   told by the second run too.
/// - columns padded by bytes, where the provider counts characters: a name beyond ASCII then carries the beginning of
///   the arguments. It is cut at the column's end in bytes.
///
/// Where the second run fails, or does not have a process, the text of the first one stays: a command line that may be
/// cut is better than no table. A process of which there is nothing but "(name)" then counts as ended. A second run
/// that hung is left out for a while: the cause is likely to be there still, and everything else waits for the table
/// meanwhile.
class PSCommandLineCompleter final : public ProcessSnapshotProviding {
public:
    static constexpr std::chrono::minutes pauseAfterHanging{5};

    PSCommandLineCompleter(std::shared_ptr<ProcessSnapshotProviding> provider, std::shared_ptr<CommandRunning> runner);

    /// @throws what the decorated provider throws.
    ProcessSnapshot snapshot(TimePoint at) override;

    /// One process in the second run's output. The view points into that output.
    struct Details {
        bool hasEnded = false;
        std::string_view commandLine;

        bool operator==(const Details&) const = default;
    };

    /// Parses the whole output, whose first line is the header: process id, state, command line. A line that cannot be
    /// understood is passed over.
    static std::unordered_map<std::int32_t, Details> parse(std::string_view output);

private:
    std::string allCommandLines(TimePoint at);

    std::shared_ptr<ProcessSnapshotProviding> provider;
    std::shared_ptr<CommandRunning> runner;

    /// When the second run hung last.
    std::optional<TimePoint> hungAt;
};

} // namespace tavo
