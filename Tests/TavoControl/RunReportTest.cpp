#include "RunReport.h"

#include "Support/CapturedStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace tavo {
namespace {

class RunReportTest : public testing::Test {
protected:
    CapturedStream stream;
    TimePoint at = *parseISO8601("2026-01-31T09:05:00Z");
    RunLine active{.reason = RuntimeDecisionReason::active,
                   .title = "keeping computer awake",
                   .detail = "codex is running",
                   .held = "idle:sleep (logind)",
                   .matchedProcesses = {{.pid = 7, .executableName = "codex", .commandLine = "codex"},
                                        {.pid = 8, .executableName = "node", .commandLine = "node codex"}}};

    static void SetUpTestSuite() {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

TEST_F(RunReportTest, ALineSaysWhenWhatWhyForWhomAndWhatIsHeld) {
    RunReport report(Console(stream.get()), false);
    EXPECT_TRUE(report.update(active, std::nullopt, at));
    EXPECT_EQ(stream.text(), "09:05:00  keeping computer awake: codex is running (process id 7 and 1 more); holding "
                             "idle:sleep (logind)\n");
}

TEST_F(RunReportTest, OnlyAChangeIsPrinted) {
    RunReport report(Console(stream.get()), false);
    report.update(active, std::nullopt, at);
    report.update(active, std::nullopt, at + std::chrono::minutes{1});
    auto released = active;
    released = {.reason = RuntimeDecisionReason::noMatchingProcess,
                .title = "waiting for codex",
                .detail = "starts when codex runs"};
    report.update(released, std::nullopt, at + std::chrono::minutes{2});
    EXPECT_EQ(stream.text(), "09:05:00  keeping computer awake: codex is running (process id 7 and 1 more); holding "
                             "idle:sleep (logind)\n"
                             "09:07:00  waiting for codex: starts when codex runs; holding nothing\n");
}

TEST_F(RunReportTest, ANoticeIsSaidOnce) {
    RunReport report(Console(stream.get()), false);
    active.matchedProcesses.clear();
    active.notice = "sleep was refused";
    report.update(active, std::nullopt, at);
    active.detail = "always on";
    report.update(active, std::nullopt, at);
    EXPECT_EQ(stream.text(), "09:05:00  keeping computer awake: codex is running; holding idle:sleep (logind)\n"
                             "09:05:00  notice: sleep was refused\n"
                             "09:05:00  keeping computer awake: always on; holding idle:sleep (logind)\n");
}

TEST_F(RunReportTest, ABrokenConfigurationIsSaidOnceUntilItIsMended) {
    RunReport report(Console(stream.get()), false);
    report.update(active, std::nullopt, at);
    const auto before = stream.text();
    report.update(active, "isEnabled: bad.", at);
    report.update(active, "isEnabled: bad.", at);
    const std::string line =
        "09:05:00  notice: config.json cannot be used, so what it said before stays in force: isEnabled: bad.\n";
    EXPECT_EQ(stream.text(), before + line);
    report.update(active, std::nullopt, at);
    report.update(active, "isEnabled: bad.", at);
    EXPECT_EQ(stream.text(), before + line + line);
}

TEST_F(RunReportTest, ControlCharactersFromOutsideAreVisible) {
    RunReport report(Console(stream.get()), false);
    active.detail = "\x1B]0;evil\x07 is running";
    report.update(active, std::nullopt, at);
    EXPECT_THAT(stream.text(), testing::HasSubstr("^[]0;evil^G is running"));
}

TEST_F(RunReportTest, JsonIsOneObjectALine) {
    RunReport report(Console(stream.get()), true);
    active.notice = "sleep was refused";
    active.matchedProcesses = {{.pid = 7, .executableName = "codex", .commandLine = "co\ndex \xFF"}};
    report.update(active, "isEnabled: bad.", at);
    const auto text = stream.text();
    ASSERT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
    const auto end = text.find('\n');
    EXPECT_EQ(parseJson(text.substr(0, end)),
              parseJson(R"json({"time": "2026-01-31T09:05:00Z", "decision": "active", "title": "keeping computer awake",
                            "detail": "codex is running", "held": "idle:sleep (logind)", "notice": "sleep was refused",
                            "matchedProcesses": [{"pid": 7, "executableName": "codex", "commandLine": "co\ndex \ufffd"}]
})json"));
    EXPECT_TRUE(parseJson(text.substr(end)).contains("notice"));
}

} // namespace
} // namespace tavo
