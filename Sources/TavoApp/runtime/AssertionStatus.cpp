#include "runtime/AssertionStatus.h"

#include <algorithm>
#include <utility>

namespace tavo {

namespace {

/// Takes the text up to the next space off the front of `line`.
std::string_view takeWord(std::string_view& line) {
    const auto end = line.find(' ');
    const auto word = line.substr(0, end);
    line.remove_prefix(end == std::string_view::npos ? line.size() : end + 1);
    return word;
}

void appendListed(std::string& list, std::string_view separator, const std::string& item) {
    if (!list.empty()) {
        list += separator;
    }
    list += item;
}

} // namespace

std::optional<AssertionReport> parseAssertionReport(std::string_view line) {
    constexpr std::string_view noticeSeparator = "; ";
    const auto noticeStart = line.find(noticeSeparator);
    const auto notice =
        noticeStart == std::string_view::npos ? std::string_view() : line.substr(noticeStart + noticeSeparator.size());
    auto fields = line.substr(0, noticeStart);
    const auto service = takeWord(fields);
    const auto state = fromRawValue<AssertionReportState>(takeWord(fields));
    if (service.empty() || !state || fields.empty() || fields.find(' ') != std::string_view::npos) {
        return std::nullopt;
    }
    return AssertionReport{
        .service = std::string(service), .state = *state, .what = std::string(fields), .notice = std::string(notice)};
}

AssertionStatus::Token AssertionStatus::open() {
    Token token = 0;
    {
        const std::lock_guard lock(mutex);
        token = ++current;
        latestReports.clear();
    }
    changed();
    return token;
}

void AssertionStatus::record(Token token, AssertionReport report) {
    {
        const std::lock_guard lock(mutex);
        if (token != current) {
            return;
        }
        const bool isOfDesktop = report.service != "logind" && report.service != "desktop";
        if (isOfDesktop && report.state == AssertionReportState::held) {
            // The portal is asked only while no other desktop service holds; its request ends without a word.
            std::erase_if(latestReports, [](const auto& other) { return other.service == "portal"; });
        }
        if (isOfDesktop && report.state != AssertionReportState::lost) {
            // That no service took the request is over as soon as one has answered.
            std::erase_if(latestReports, [](const auto& other) { return other.service == "desktop"; });
        }
        const auto earlier = std::find_if(latestReports.begin(), latestReports.end(),
                                          [&](const auto& other) { return other.service == report.service; });
        if (earlier == latestReports.end()) {
            latestReports.push_back(std::move(report));
        } else {
            *earlier = std::move(report);
        }
    }
    changed();
}

void AssertionStatus::close(Token token) {
    {
        const std::lock_guard lock(mutex);
        if (token != current) {
            return;
        }
        // The child's last words may still be on their way.
        ++current;
        latestReports.clear();
    }
    changed();
}

std::vector<AssertionReport> AssertionStatus::reports() const {
    const std::lock_guard lock(mutex);
    return latestReports;
}

std::optional<std::string> AssertionStatus::notice() const {
    std::string notices;
    for (const auto& report : reports()) {
        if (!report.notice.empty()) {
            appendListed(notices, " ", report.notice);
        }
    }
    return notices.empty() ? std::nullopt : std::optional(notices);
}

std::string AssertionStatus::summary() const {
    std::string list;
    for (const auto& report : reports()) {
        if (report.state == AssertionReportState::held) {
            appendListed(list, ", ", report.what + " (" + report.service + ")");
        } else if (report.state == AssertionReportState::asked) {
            appendListed(list, ", ", report.what + " (asked of " + report.service + ")");
        }
    }
    return list;
}

void AssertionStatus::onChange(std::function<void()> newCallback) {
    const std::lock_guard lock(mutex);
    callback = std::move(newCallback);
}

void AssertionStatus::changed() {
    std::function<void()> toCall;
    {
        const std::lock_guard lock(mutex);
        toCall = callback;
    }
    if (toCall) {
        toCall();
    }
}

} // namespace tavo
