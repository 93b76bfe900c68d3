#include "TavoControl/RunReport.h"

#include "Support/DescribedJson.h"
#include "TavoControl/PrintedLines.h"
#include "base/JsonCoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const TimePoint start = *parseISO8601("2026-01-31T09:05:00Z");

RunLine waiting() {
    return {.reason = RuntimeDecisionReason::noMatchingProcess,
            .title = "waiting for codex",
            .detail = "starts when codex runs"};
}

RunLine active() {
    return {.reason = RuntimeDecisionReason::active,
            .title = "keeping computer awake",
            .detail = "codex is running",
            .held = "idle:sleep (logind)",
            .matchedProcesses = {{.pid = 4242, .executableName = "codex", .commandLine = "codex --yolo"}}};
}

class RunReportTest : public ::testing::Test {
protected:
    RunReport report(bool json = false) const { return {printed.console(), json}; }

    /// Without the clock, which is local time: "HH:MM:SS  ".
    std::vector<std::string> takeWords() {
        auto lines = printed.take();
        for (auto& line : lines) {
            EXPECT_THAT(line, ::testing::ContainsRegex("^[0-9][0-9]:[0-9][0-9]:[0-9][0-9]  "));
            line.erase(0, 10);
        }
        return lines;
    }

    std::vector<Json> takeObjects() {
        std::vector<Json> objects;
        for (const auto& line : printed.take()) {
            objects.push_back(describedJson("run", line));
        }
        return objects;
    }

    PrintedLines printed;
};

TEST_F(RunReportTest, TheServiceManagerGetsTheSameWordsWithoutTheClock) {
    auto line = active();
    line.detail = "codex\nis running";
    auto console = report();
    console.update(line, std::nullopt, start);
    EXPECT_THAT(takeWords(), ElementsAre(line.plainText()));
    EXPECT_THAT(line.plainText(), ::testing::Not(::testing::HasSubstr("\n"))) << "a status is one line";
}

TEST_F(RunReportTest, TheClockIsLocalTime) {
    const auto* const before = std::getenv("TZ");
    const auto zone = before == nullptr ? std::optional<std::string>() : before;
    setenv("TZ", "IST-05:30", 1);
    tzset();
    report().update(waiting(), std::nullopt, start);
    zone ? setenv("TZ", zone->c_str(), 1) : unsetenv("TZ");
    tzset();
    EXPECT_THAT(printed.take(), ElementsAre(::testing::StartsWith("14:35:00  ")));
}

TEST_F(RunReportTest, EveryChangeIsOneLineAndTheSameAgainIsNone) {
    auto lines = report();
    lines.update(waiting(), std::nullopt, start);
    lines.update(waiting(), std::nullopt, start + std::chrono::seconds(60));
    lines.update(active(), std::nullopt, start + std::chrono::seconds(120));
    lines.update(waiting(), std::nullopt, start + std::chrono::seconds(180));
    EXPECT_THAT(takeWords(),
                ElementsAre("waiting for codex: starts when codex runs; holding nothing",
                            "keeping computer awake: codex is running (process id 4242); holding idle:sleep (logind)",
                            "waiting for codex: starts when codex runs; holding nothing"));
}

TEST_F(RunReportTest, TheTimeIsTheLocalClockOfTheChange) {
    setenv("TZ", "UTC0", 1);
    tzset();
    report().update(waiting(), std::nullopt, start + std::chrono::seconds(7));
    EXPECT_THAT(printed.take(), ElementsAre(::testing::StartsWith("09:05:07  waiting")));
    unsetenv("TZ");
    tzset();
}

TEST_F(RunReportTest, FurtherProcessesAreCounted) {
    auto line = active();
    line.matchedProcesses.push_back({.pid = 5, .executableName = "codex"});
    line.matchedProcesses.push_back({.pid = 6, .executableName = "codex"});
    report().update(line, std::nullopt, start);
    EXPECT_THAT(takeWords(), ElementsAre(::testing::HasSubstr("(process id 4242 and 2 more)")));
}

TEST_F(RunReportTest, AChangeThatALineDoesNotShowPrintsNoSecondLine) {
    auto line = active();
    auto lines = report();
    lines.update(line, std::nullopt, start);
    line.matchedProcesses[0].commandLine = "codex resume";
    lines.update(line, std::nullopt, start);
    EXPECT_THAT(takeWords(), SizeIs(1));
}

TEST_F(RunReportTest, ANoticeIsSaidOnceOnALineOfItsOwn) {
    auto line = active();
    auto lines = report();
    lines.update(line, std::nullopt, start);
    line.notice = "sleep was refused.";
    lines.update(line, std::nullopt, start);
    lines.update(line, std::nullopt, start);
    lines.update(waiting(), std::nullopt, start);
    lines.update(line, std::nullopt, start);
    EXPECT_THAT(takeWords(), ElementsAre(::testing::StartsWith("keeping"), "notice: sleep was refused.",
                                         ::testing::StartsWith("waiting"), ::testing::StartsWith("keeping")));
}

TEST_F(RunReportTest, AnUnusableConfigurationIsSaidOnceUntilItWasUsableAgain) {
    auto lines = report();
    lines.update(waiting(), "isEnabled is missing", start);
    lines.update(waiting(), "isEnabled is missing", start);
    lines.update(waiting(), std::nullopt, start);
    lines.update(waiting(), "isEnabled is missing", start);
    const auto* const notice =
        "notice: config.json cannot be used, so what it said before stays in force: isEnabled is missing";
    EXPECT_THAT(takeWords(), ElementsAre(::testing::StartsWith("waiting"), notice, notice));
}

TEST_F(RunReportTest, WithJsonEveryLineIsAnObject) {
    auto lines = report(true);
    lines.update(waiting(), std::nullopt, start);
    lines.update(waiting(), std::nullopt, start + std::chrono::seconds(60));
    auto line = active();
    line.notice = "sleep was refused.";
    lines.update(line, std::nullopt, start + std::chrono::seconds(61));
    const auto objects = takeObjects();
    ASSERT_THAT(objects, SizeIs(2));
    EXPECT_EQ(objects[0], Json({{"time", "2026-01-31T09:05:00Z"},
                                {"decision", "noMatchingProcess"},
                                {"title", "waiting for codex"},
                                {"detail", "starts when codex runs"},
                                {"held", ""},
                                {"matchedProcesses", Json::array()}}));
    EXPECT_EQ(objects[1]["time"], "2026-01-31T09:06:01Z");
    EXPECT_EQ(objects[1]["held"], "idle:sleep (logind)");
    EXPECT_EQ(objects[1]["notice"], "sleep was refused.");
    EXPECT_EQ(objects[1]["matchedProcesses"],
              Json::parse(R"([{"pid": 4242, "executableName": "codex", "commandLine": "codex --yolo"}])"));
}

TEST_F(RunReportTest, WithJsonAChangeOfTheCommandLineCounts) {
    auto line = active();
    auto lines = report(true);
    lines.update(line, std::nullopt, start);
    line.matchedProcesses[0].commandLine = "codex resume";
    lines.update(line, std::nullopt, start);
    EXPECT_THAT(takeObjects(), SizeIs(2));
}

TEST_F(RunReportTest, WithJsonAnUnusableConfigurationIsAnObjectToo) {
    auto lines = report(true);
    lines.update(waiting(), "isEnabled is missing", start);
    const auto objects = takeObjects();
    ASSERT_THAT(objects, SizeIs(2));
    EXPECT_EQ(objects[1]["notice"],
              "config.json cannot be used, so what it said before stays in force: isEnabled is missing");
}

TEST_F(RunReportTest, ControlCharactersFromOutsideAreVisible) {
    auto line = active();
    line.title = "waiting for a\x1B[31mb";
    line.detail = "starts when c\nd runs";
    line.held = "idle\x07";
    line.notice = "odd\x1B]0;title\x07";
    report().update(line, std::nullopt, start);
    EXPECT_THAT(takeWords(),
                ElementsAre("waiting for a^[[31mb: starts when c^Jd runs (process id 4242); holding idle^G",
                            "notice: odd^[]0;title^G"));
}

TEST_F(RunReportTest, WithJsonControlCharactersAndMalformedTextStayValidJson) {
    auto line = active();
    line.detail = "a\x1B[31m\n\xFF";
    report(true).update(line, std::nullopt, start);
    const auto lines = printed.take();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ(describedJson("run", lines[0])["detail"], "a\x1B[31m\n\uFFFD");
    EXPECT_EQ(lines[0].find('\x1B'), std::string::npos);
}

TEST_F(RunReportTest, OutputThatCannotBeWrittenIsAnError) {
    std::FILE* full = std::fopen("/dev/full", "we");
    if (full == nullptr) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    EXPECT_THROW(RunReport(Console(full), false).update(waiting(), std::nullopt, start), OutputError);
    EXPECT_THROW(RunReport(Console(full), true).update(waiting(), std::nullopt, start), OutputError);
    std::fclose(full);
    EXPECT_THAT(printed.take(), IsEmpty());
}

TEST_F(RunReportTest, ARunThatWaitsForWorkSaysWhyItGoesOn) {
    auto line = active();
    line.work = RunLine::Work{.isWorking = false, .text = "idle for 3 minutes, sleeping allowed in 7"};
    auto lines = report();
    lines.update(line, std::nullopt, start);
    EXPECT_THAT(takeWords(),
                ElementsAre("keeping computer awake: codex is running (process id 4242); idle for 3 minutes, "
                            "sleeping allowed in 7; holding idle:sleep (logind)"));
    auto objects = report(true);
    objects.update(line, std::nullopt, start);
    const auto printedObjects = takeObjects();
    ASSERT_THAT(printedObjects, SizeIs(1));
    EXPECT_EQ(printedObjects[0].at("work"),
              Json({{"isWorking", false}, {"text", "idle for 3 minutes, sleeping allowed in 7"}}));
}

TEST_F(RunReportTest, ABoundIsSaidWithEveryLineAndItsEndOnALineOfItsOwn) {
    auto line = active();
    line.bound = "until 18:30:00";
    line.until = start + std::chrono::hours{9};
    auto words = report();
    words.update(line, std::nullopt, start);
    words.end("it is 18:30", start);
    EXPECT_THAT(takeWords(),
                ElementsAre("keeping computer awake: codex is running (process id 4242); holding idle:sleep "
                            "(logind); until 18:30:00",
                            "ended: it is 18:30"));
    auto objects = report(true);
    objects.update(line, std::nullopt, start);
    objects.end("it is 18:30", start);
    const auto printedObjects = takeObjects();
    ASSERT_THAT(printedObjects, SizeIs(2));
    EXPECT_EQ(printedObjects[0]["until"], "2026-01-31T18:05:00Z");
    EXPECT_EQ(printedObjects[1], (Json{{"time", "2026-01-31T09:05:00Z"}, {"ended", "it is 18:30"}}));
}

} // namespace
} // namespace tavo
