#include "Require.h"
#include "system/AssertionReport.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using tavo::require;

/// A report that was read is the line that it was read from.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    if (const auto report = tavo::parseAssertionReport(line)) {
        auto written = assertionReportLine(*report);
        // A separator without a notice after it is no notice.
        written += report->notice.empty() && written.size() < line.size() ? "; " : "";
        require(written == line, "a report holds all of its line");
    }
    return 0;
}
