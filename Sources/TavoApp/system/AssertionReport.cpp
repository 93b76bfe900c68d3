#include "system/AssertionReport.h"

namespace tavo {

namespace {

constexpr std::string_view noticeSeparator = "; ";

/// Takes the text up to the next space off the front of `line`.
std::string_view takeWord(std::string_view& line) {
    const auto end = line.find(' ');
    const auto word = line.substr(0, end);
    line.remove_prefix(end == std::string_view::npos ? line.size() : end + 1);
    return word;
}

} // namespace

std::string assertionReportLine(const AssertionReport& report) {
    std::string line(rawValue(report.service));
    line.append(" ").append(rawValue(report.state)).append(" ").append(report.what);
    if (!report.notice.empty()) {
        line.append(noticeSeparator).append(report.notice);
    }
    return line;
}

std::optional<AssertionReport> parseAssertionReport(std::string_view line) {
    const auto noticeStart = line.find(noticeSeparator);
    const auto notice =
        noticeStart == std::string_view::npos ? std::string_view() : line.substr(noticeStart + noticeSeparator.size());
    auto fields = line.substr(0, noticeStart);
    const auto service = fromRawValue<AssertionService>(takeWord(fields));
    const auto state = fromRawValue<AssertionReportState>(takeWord(fields));
    if (!service || !state || fields.empty() || fields.find(' ') != std::string_view::npos) {
        return std::nullopt;
    }
    return AssertionReport{
        .service = *service, .state = *state, .what = std::string(fields), .notice = std::string(notice)};
}

} // namespace tavo
