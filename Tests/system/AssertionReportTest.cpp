#include "system/AssertionReport.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

using Service = AssertionService;
using State = AssertionReportState;

struct Line {
    std::string text;
    AssertionReport report;
};

const std::vector<Line> lines{
    {"logind held idle:sleep", {Service::logind, State::held, "idle:sleep", ""}},
    {"logind held idle; sleep was refused", {Service::logind, State::held, "idle", "sleep was refused"}},
    {"gnome held suspend", {Service::gnome, State::held, "suspend", ""}},
    {"gnome refused suspend; it said no; so there",
     {Service::gnome, State::refused, "suspend", "it said no; so there"}},
    {"power-management lost suspend", {Service::powerManagement, State::lost, "suspend", ""}},
    {"portal asked suspend", {Service::portal, State::asked, "suspend", ""}},
    {"desktop refused suspend; nobody", {Service::desktop, State::refused, "suspend", "nobody"}},
};

TEST(AssertionReport, IsWrittenAsOneLine) {
    for (const auto& [text, report] : lines) {
        EXPECT_EQ(assertionReportLine(report), text);
    }
}

TEST(AssertionReport, IsReadFromItsLine) {
    for (const auto& [text, report] : lines) {
        EXPECT_EQ(parseAssertionReport(text), report) << text;
    }
}

TEST(AssertionReport, OfEveryServiceAndStateIsReadAsItWasWritten) {
    for (const auto service : allCases<Service>()) {
        for (const auto state : allCases<State>()) {
            for (const auto* notice : {"", "one notice; and more"}) {
                const AssertionReport report{service, state, "suspend", notice};
                EXPECT_EQ(parseAssertionReport(assertionReportLine(report)), report) << assertionReportLine(report);
            }
        }
    }
}

TEST(AssertionReport, IsNotReadFromAnyOtherText) {
    for (const auto* line :
         {"", " ", "logind", "logind held", "logind held ", "logind HELD idle", "logind has idle", "LOGIND held idle",
          "somebody held idle", " held idle", "logind held idle sleep", "; notice", "logind held; notice"}) {
        EXPECT_EQ(parseAssertionReport(line), std::nullopt) << line;
    }
}

TEST(AssertionReport, IsFromTheDesktopWhenOneOfItsServicesAnswered) {
    for (const auto service : {Service::gnome, Service::powerManagement, Service::portal}) {
        EXPECT_TRUE(AssertionReport{.service = service}.isFromDesktopService()) << rawValue(service);
    }
    for (const auto service : {Service::logind, Service::desktop, Service::caffeinate}) {
        EXPECT_FALSE(AssertionReport{.service = service}.isFromDesktopService()) << rawValue(service);
    }
}

} // namespace
} // namespace tavo
