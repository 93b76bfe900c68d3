#include "Require.h"
#include "base/JsonCoding.h"
#include "config/HistoryEntry.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using tavo::require;

/// Every line that parses is written as a line of bounded length that parses to the same entry.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const auto line = tavo::HistoryEntry::fromLine(text).line();
        require(line.size() <= tavo::HistoryEntry::maxLineLength, "a line has a bound");
        require(line.find('\n') == std::string::npos, "a line is one line");
        const auto again = tavo::HistoryEntry::fromLine(line);
        require(again.line() == line && tavo::HistoryEntry::fromLine(again.line()) == again,
                "what was written reads back");
    } catch (const tavo::DecodingError& error) {
        require(!error.description().empty(), "an error says something");
    }
    return 0;
}
