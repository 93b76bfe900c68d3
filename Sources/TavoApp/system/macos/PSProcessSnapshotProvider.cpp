#include "system/macos/PSProcessSnapshotProvider.h"

#include "base/Text.h"
#include "system/DecimalText.h"

#include <utf8proc.h>

#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavo {

namespace {

/// The length of the first code point. A malformed byte stands for itself and is no white space.
std::pair<std::size_t, bool> lengthAndWhitespace(std::string_view text) {
    utf8proc_int32_t character = 0;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                         static_cast<utf8proc_ssize_t>(text.size()), &character);
    return length > 0 ? std::pair(static_cast<std::size_t>(length), isWhitespace(static_cast<char32_t>(character)))
                      : std::pair(std::size_t{1}, false);
}

/// Takes off what is white space, or what is not, from the front of `text`.
std::string_view takeWhile(std::string_view& text, bool isWhitespaceTaken) {
    std::size_t position = 0;
    while (position < text.size()) {
        const auto [length, isSpace] = lengthAndWhitespace(text.substr(position));
        if (isSpace != isWhitespaceTaken) {
            break;
        }
        position += length;
    }
    const auto taken = text.substr(0, position);
    text.remove_prefix(position);
    return taken;
}

std::string_view takeToken(std::string_view& text) {
    takeWhile(text, true);
    return takeWhile(text, false);
}

std::vector<std::string_view> splitOmittingEmpty(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    while (!text.empty()) {
        const auto end = std::min(text.find(separator), text.size());
        if (end > 0) {
            pieces.push_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
}

/// The days and the clock of "dd-hh:mm:ss". Days are absent unless something stands on both sides of the first hyphen
/// that has something before it.
std::pair<std::optional<std::string_view>, std::string_view> splitDays(std::string_view value) {
    const auto start = value.find_first_not_of('-');
    const auto hyphen = value.find('-', start == std::string_view::npos ? value.size() : start);
    if (hyphen == std::string_view::npos || hyphen + 1 == value.size()) {
        return {std::nullopt, value};
    }
    return {value.substr(start, hyphen - start), value.substr(hyphen + 1)};
}

} // namespace

PSProcessSnapshotProvider::PSProcessSnapshotProvider(std::shared_ptr<CommandRunning> runner)
    : runner(std::move(runner)) {}

ProcessSnapshot PSProcessSnapshotProvider::snapshot(TimePoint at) {
    // All processes of all users (-a), those without a terminal too (-x), lines of any length (-ww), and in the command
    // column the executable's name alone (-c).
    const auto columns = "pid=PID,ppid=PPID,time=TIME,command=" + std::string(executableColumnHeader) + ",args=ARGS";
    const auto result = runner->run({.executableURL = "/bin/ps", .arguments = {"-axwwc", "-o", columns}});
    return parse(result.standardOutput, at);
}

ProcessSnapshot PSProcessSnapshotProvider::parse(std::string_view output, TimePoint capturedAt) {
    ProcessSnapshot snapshot{.capturedAt = capturedAt, .processes = {}};
    bool isHeader = true;
    for (const auto line : splitLines(output)) {
        if (!std::exchange(isHeader, false) && !trimWhitespaceAndNewlines(line).empty()) {
            snapshot.processes.push_back(parseProcessLine(line));
        }
    }
    return snapshot;
}

ProcessSample PSProcessSnapshotProvider::parseProcessLine(std::string_view line) {
    auto rest = line;
    const auto pid = parseInt32(takeToken(rest));
    const auto parentPID = parseInt32(takeToken(rest));
    const auto time = takeToken(rest);
    takeWhile(rest, true);
    if (!pid || !parentPID) {
        throw ProcessWatcherError::invalidPSOutputLine(std::string(line));
    }
    const auto nameLength = prefixLength(rest, executableColumnWidth);
    const auto name = trimWhitespace(rest.substr(0, nameLength));
    const auto arguments = trimWhitespace(rest.substr(nameLength));
    return {.pid = *pid,
            .parentPID = *parentPID,
            .cpuTimeSeconds = parseCPUTime(time),
            .executableName = name,
            .commandLine = arguments.empty() ? name : arguments};
}

double PSProcessSnapshotProvider::parseCPUTime(std::string_view value) {
    const auto number = [value](std::string_view text) {
        const auto parsed = parseDecimal(text);
        if (!parsed) {
            throw ProcessWatcherError::malformedTimeValue(std::string(value));
        }
        return *parsed;
    };
    const auto [days, clock] = splitDays(value);
    const auto pieces = splitOmittingEmpty(clock, ':');
    if (pieces.size() != 2 && pieces.size() != 3) {
        throw ProcessWatcherError::malformedTimeValue(std::string(value));
    }
    const double daySeconds = days ? number(*days) * 86400 : 0;
    const double hours = pieces.size() == 3 ? number(pieces.front()) : 0;
    const double minutes = number(pieces[pieces.size() - 2]);
    const double seconds = number(pieces.back()) + (daySeconds + hours * 3600 + minutes * 60);
    // Days and hours beyond the range of a double would poison every later comparison of times.
    return std::isfinite(seconds) ? seconds : number({});
}

} // namespace tavo
