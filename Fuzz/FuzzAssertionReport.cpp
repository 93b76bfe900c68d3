#include "Require.h"
#include "runtime/AssertionStatus.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using tavo::require;

/// A report that was read is the line that it was read from.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    if (const auto report = tavo::parseAssertionReport(line)) {
        auto written = report->service + " " + std::string(rawValue(report->state)) + " " + report->what;
        const bool hasNotice = written.size() < line.size();
        written += hasNotice ? "; " + report->notice : "";
        require(written == line, "a report holds all of its line");
    }
    return 0;
}
