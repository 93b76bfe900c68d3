#include "runtime/AssertionStatus.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace tavo {

namespace {

void appendListed(std::string& list, std::string_view separator, const std::string& item) {
    if (!list.empty()) {
        list += separator;
    }
    list += item;
}

} // namespace

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
        const auto before = latestReports;
        if (report.isFromDesktopService() && report.state == AssertionReportState::held) {
            // The portal is asked only while no other desktop service holds; its request ends without a word.
            std::erase_if(latestReports, [](const auto& other) { return other.service == AssertionService::portal; });
        }
        if (report.isFromDesktopService() && report.state != AssertionReportState::lost) {
            // A service that answers ends the report that none took the request.
            std::erase_if(latestReports, [](const auto& other) { return other.service == AssertionService::desktop; });
        }
        const auto earlier = std::find_if(latestReports.begin(), latestReports.end(),
                                          [&](const auto& other) { return other.service == report.service; });
        if (earlier == latestReports.end()) {
            latestReports.push_back(std::move(report));
        } else {
            *earlier = std::move(report);
        }
        if (latestReports == before) {
            return; // a child that repeats itself wakes nobody
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
        // The child's last reports may still be on their way.
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
            appendListed(list, ", ", fmt::format("{} ({})", report.what, rawValue(report.service)));
        } else if (report.state == AssertionReportState::asked) {
            appendListed(list, ", ", fmt::format("{} (asked of {})", report.what, rawValue(report.service)));
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
