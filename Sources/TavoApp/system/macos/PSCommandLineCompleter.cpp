#include "system/macos/PSCommandLineCompleter.h"

#include "base/Text.h"
#include "system/DecimalText.h"
#include "system/macos/PSProcessSnapshotProvider.h"
#include "system/macos/TimeLimitedCommandRunner.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace tavo {

namespace {

/// Takes the first field off a text that does not begin with white space, and the white space after it.
std::string_view takeField(std::string_view& text) {
    const auto field = text.substr(0, text.find_first_of(" \t"));
    text = trimWhitespace(text.substr(field.size()));
    return field;
}

/// The name alone, out of a column that was cut by characters.
std::string_view withinColumn(std::string_view name) {
    auto end = std::min(name.size(), PSProcessSnapshotProvider::executableColumnWidth);
    while (end > 0 && end < name.size() && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80) {
        --end; // not within a letter
    }
    return trimWhitespace(name.substr(0, end));
}

/// Whether ps found nothing to show of a process but its name, which it puts in brackets then.
bool isNameInBrackets(const ProcessSample& process) {
    const auto name = process.executableName.view();
    const auto commandLine = process.commandLine.view();
    if (!commandLine.starts_with('(') || !commandLine.ends_with(')')) {
        return false;
    }
    return commandLine == name || commandLine.substr(1, commandLine.size() - 2) == name;
}

} // namespace

PSCommandLineCompleter::PSCommandLineCompleter(std::shared_ptr<ProcessSnapshotProviding> provider,
                                               std::shared_ptr<CommandRunning> runner)
    : provider(std::move(provider)), runner(std::move(runner)) {}

ProcessSnapshot PSCommandLineCompleter::snapshot(TimePoint at) {
    auto snapshot = provider->snapshot(at);
    const auto output = allCommandLines(at);
    const auto details = parse(output);
    for (auto& process : snapshot.processes) {
        process.executableName = withinColumn(process.executableName);
    }
    std::erase_if(snapshot.processes, [&details](const ProcessSample& process) {
        const auto found = details.find(process.pid);
        return found == details.end() ? isNameInBrackets(process) : found->second.hasEnded;
    });
    for (auto& process : snapshot.processes) {
        if (const auto found = details.find(process.pid);
            found != details.end() && !found->second.commandLine.empty()) {
            process.commandLine = found->second.commandLine;
        }
    }
    return snapshot;
}

/// The output of the second run; empty when there was none, or when it failed.
std::string PSCommandLineCompleter::allCommandLines(TimePoint at) {
    // A clock that was set back does not keep it away for longer.
    if (hungAt && at >= *hungAt && at < *hungAt + pauseAfterHanging) {
        return {};
    }
    try {
        // As in the first run, but with command lines as they are (without -c).
        auto result =
            runner->run({.executableURL = "/bin/ps", .arguments = {"-axww", "-o", "pid=PID,stat=STAT,args=ARGS"}});
        hungAt.reset();
        return result.exitCode == 0 ? std::move(result.standardOutput) : std::string();
    } catch (const CommandTimeoutError&) {
        hungAt = at;
    } catch (const std::exception&) {
        // Ignored on purpose: the first run has just given a table, and without it nobody would be kept awake at all.
    }
    return {};
}

std::unordered_map<std::int32_t, PSCommandLineCompleter::Details>
PSCommandLineCompleter::parse(std::string_view output) {
    std::unordered_map<std::int32_t, Details> details;
    bool isHeader = true;
    for (const auto line : splitLines(output)) {
        if (std::exchange(isHeader, false)) {
            continue;
        }
        auto rest = trimWhitespace(line);
        const auto pid = parseInt32(takeField(rest));
        const auto state = takeField(rest);
        if (pid && !state.empty()) {
            details.emplace(*pid, Details{.hasEnded = state.starts_with('Z'), .commandLine = rest});
        }
    }
    return details;
}

} // namespace tavo
