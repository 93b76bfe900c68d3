#include "Require.h"
#include "base/Text.h"
#include "system/macos/PSCommandLineCompleter.h"
#include "system/macos/PSProcessSnapshotProvider.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {
namespace {

using Provider = PSProcessSnapshotProvider;

/// The first `count` characters fill the name column, so a name never has more.
bool fitsNameColumn(std::string_view name) {
    return prefixLength(name, Provider::executableColumnWidth) == name.size();
}

void checkSample(const ProcessSample& sample) {
    require(std::isfinite(sample.cpuTimeSeconds), "a time is finite");
    require(fitsNameColumn(sample.executableName), "a name fits its column");
    require(trimWhitespace(sample.executableName) == sample.executableName, "a name is trimmed");
    require(trimWhitespace(sample.commandLine) == sample.commandLine, "a command line is trimmed");
    require(!sample.commandLine.empty() || sample.executableName.empty(), "the name stands in for no arguments");
    require(repairUTF8(sample.executableName) == sample.executableName, "a name is valid");
    require(repairUTF8(sample.commandLine) == sample.commandLine, "a command line is valid");
}

/// The error for a line that is known to be part of the text.
std::optional<ProcessWatcherError> parseLineByLine(std::string_view text, std::size_t& processes) {
    bool isHeader = true;
    for (const auto line : splitLines(text)) {
        if (!isHeader && !trimWhitespaceAndNewlines(line).empty()) {
            try {
                checkSample(Provider::parseProcessLine(line));
                ++processes;
            } catch (const ProcessWatcherError& error) {
                require(line.find(error.payload()) != std::string_view::npos, "an error quotes the line");
                require(error.kind() == ProcessWatcherError::Kind::malformedTimeValue || error.payload() == line,
                        "an invalid line is quoted whole");
                return error;
            }
        }
        isHeader = false;
    }
    return std::nullopt;
}

/// A whole text is understood exactly when each of its lines is.
void checkText(std::string_view text) {
    std::size_t processes = 0;
    const auto expectedError = parseLineByLine(text, processes);
    try {
        const auto snapshot = Provider::parse(text, TimePoint{});
        require(!expectedError, "a text with a bad line is an error");
        require(snapshot.processes.size() == processes, "every line is a process");
    } catch (const ProcessWatcherError& error) {
        require(expectedError && expectedError->payload() == error.payload(), "the first bad line is the error");
    }
}

void checkCommandLines(std::string_view text) {
    for (const auto& [pid, details] : PSCommandLineCompleter::parse(text)) {
        require(trimWhitespace(details.commandLine) == details.commandLine, "a whole command line is trimmed");
        require(text.find(details.commandLine) != std::string_view::npos, "a whole command line is part of the text");
        require(text.find(std::to_string(pid < 0 ? -static_cast<std::int64_t>(pid) : pid)) != std::string_view::npos,
                "an id is part of the text");
    }
}

void checkTime(std::string_view text) {
    try {
        require(std::isfinite(Provider::parseCPUTime(text)), "a time is finite");
        require(text.find(':') != std::string_view::npos, "a time has a colon");
        require(text.find_first_not_of("0123456789+-.:eE") == std::string_view::npos, "a time is made of numbers");
    } catch (const ProcessWatcherError& error) {
        require(error.payload() == text, "a malformed time is quoted whole");
    }
}

} // namespace
} // namespace tavo

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    // The runner gives valid text; broken text must do no harm either.
    try {
        tavo::PSProcessSnapshotProvider::parse(bytes, tavo::TimePoint{});
    } catch (const tavo::ProcessWatcherError&) { // NOLINT(bugprone-empty-catch): either outcome will do
    }
    tavo::checkText(tavo::repairUTF8(bytes));
    tavo::checkTime(bytes);
    tavo::checkCommandLines(tavo::repairUTF8(bytes));
    return 0;
}
