#include "config/HistoryEntry.h"

#include "base/JsonCoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const TimePoint morning = *parseISO8601("2026-01-31T09:00:00Z");
const HistoryWriter run{.program = "tavoctl run", .processID = 12, .startTime = 34, .isOnlyOne = true};

HistoryEntry change() {
    return {.event = HistoryEvent::change,
            .time = morning,
            .writer = run,
            .state = {.reason = RuntimeDecisionReason::active,
                      .isAwake = true,
                      .processes = {{.processID = 7, .name = "claude"}},
                      .held = "idle:sleep (logind)"}};
}

TEST(HistoryEntry, ALineReadsBackAsTheEntryThatItWasWrittenFrom) {
    const HistoryEntry start{.event = HistoryEvent::start, .time = morning, .writer = run, .lastSeen = morning};
    const HistoryEntry suspend{.event = HistoryEvent::suspend,
                               .time = morning,
                               .writer = run,
                               .suspendedFrom = morning - std::chrono::hours{2},
                               .suspendedSeconds = 7000};
    const HistoryEntry end{.event = HistoryEvent::end, .time = morning, .writer = run, .why = "45 minutes are over"};
    auto stopped = change();
    stopped.state.isStopped = true;
    for (const auto& entry : {start, change(), stopped, suspend, end}) {
        EXPECT_EQ(HistoryEntry::fromLine(entry.line()), entry) << entry.line();
    }
}

TEST(HistoryEntry, ALineIsOneLineWhateverAProcessIsCalled) {
    auto entry = change();
    entry.state.processes = {{.processID = 7, .name = "two\nlines \x01\xFF"}};
    EXPECT_THAT(entry.line(), Not(HasSubstr("\n")));
    EXPECT_EQ(HistoryEntry::fromLine(entry.line()).state.processes.front().name, "two\nlines \x01\uFFFD");
}

TEST(HistoryEntry, NoLineIsLongerThanAReaderAccepts) {
    auto entry = change();
    entry.writer.program = std::string(5000, '\x01');
    entry.state.held = std::string(5000, '\x01');
    entry.why = std::string(5000, '\x01');
    entry.state.processes.assign(5000, {.processID = 1 << 30, .name = std::string(5000, '\x01')});
    EXPECT_LE(entry.line().size(), HistoryEntry::maxLineLength);
    EXPECT_EQ(HistoryEntry::fromLine(entry.line()).state.processes.size(), HistoryEntry::maxProcesses);
}

TEST(HistoryEntry, ALineSaysNoMoreThanIsKnown) {
    const HistoryWriter app{.program = "tavo", .processID = 12, .startTime = 34};
    EXPECT_EQ((HistoryEntry{.event = HistoryEvent::start, .time = morning, .writer = app}.line()),
              R"({"event":"start","pid":12,"program":"tavo","startTime":34,"time":"2026-01-31T09:00:00Z"})");
    auto entry = change();
    entry.writer = app;
    EXPECT_EQ(entry.line(),
              R"json({"awake":true,"event":"change","held":"idle:sleep (logind)","pid":12,)json"
              R"("processes":[{"name":"claude","pid":7}],"program":"tavo","reason":"active","startTime":34,)"
              R"("time":"2026-01-31T09:00:00Z"})");
    const auto read = HistoryEntry::fromLine(entry.line());
    EXPECT_FALSE(read.writer.isOnlyOne);
    EXPECT_FALSE(read.state.isStopped);
    EXPECT_EQ(read.why, "");
}

TEST(HistoryEntry, LongTextsAreCutBetweenTwoCharacters) {
    auto entry = change();
    entry.writer.program = std::string(29, 'p') + "\u00e9";
    entry.state.held = std::string(100, 'h');
    entry.state.processes = {{.processID = 7, .name = std::string(28, 'n') + "\u00e9"},
                             {.processID = 8, .name = std::string(28, 'n') + "\u20ac"}};
    entry.why = std::string(101, 'w');
    const auto read = HistoryEntry::fromLine(entry.line());
    EXPECT_EQ(read.writer.program, std::string(29, 'p'));
    EXPECT_EQ(read.state.held, entry.state.held);
    EXPECT_EQ(read.state.processes.at(0).name, std::string(28, 'n') + "\u00e9");
    EXPECT_EQ(read.state.processes.at(1).name, std::string(28, 'n'));
    EXPECT_EQ(read.why, std::string(100, 'w'));
}

TEST(HistoryEntry, OnlyTimesOfThisAgeAreRead) {
    const auto startAt = [](const std::string& time, const std::string& more = {}) {
        return R"({"event":"start","time":")" + time + R"(","program":"tavo","pid":1,"startTime":1)" + more + "}";
    };
    const auto suspendFrom = [](const std::string& from) {
        return R"({"event":"suspend","time":"2026-01-31T09:00:00Z","program":"tavo","pid":1,"startTime":1,"seconds":5,)"
               R"("from":")" +
               from + R"("})";
    };
    for (const auto* time : {"2000-01-01T00:00:00Z", "2200-01-01T00:00:00Z"}) {
        EXPECT_NO_THROW(HistoryEntry::fromLine(startAt(time))) << time;
        EXPECT_NO_THROW(HistoryEntry::fromLine(suspendFrom(time))) << time;
    }
    for (const std::string time : {"1999-12-31T23:59:59Z", "2200-01-01T00:00:01Z"}) {
        EXPECT_THROW(HistoryEntry::fromLine(startAt(time)), DecodingError) << time;
        EXPECT_THROW(HistoryEntry::fromLine(suspendFrom(time)), DecodingError) << time;
        EXPECT_THROW(HistoryEntry::fromLine(startAt("2026-01-31T09:00:00Z", R"(,"lastSeen":")" + time + R"(")")),
                     DecodingError)
            << time;
    }
}

TEST(HistoryEntry, AnythingElseIsADecodingError) {
    const auto good = change().line();
    ASSERT_NO_THROW(HistoryEntry::fromLine(good));
    for (const std::string& line :
         {std::string(), std::string("{"), std::string("[]"), std::string("null"), std::string("{}"),
          good.substr(0, good.size() / 2), good + good,
          std::string(R"({"event":"party","time":"2026-01-31T09:00:00Z"})"),
          std::string(R"({"event":"start","time":"1700-01-31T09:00:00Z","program":"tavo","pid":1,"startTime":1})"),
          std::string(R"({"event":"start","time":"2201-01-31T09:00:00Z","program":"tavo","pid":1,"startTime":1})"),
          std::string(R"({"event":"start","time":"yesterday","program":"tavo","pid":1,"startTime":1})"),
          std::string(R"({"event":"start","time":"2026-01-31T09:00:00Z","program":"tavo","pid":1e30,"startTime":1})"),
          std::string(R"({"event":"change","time":"2026-01-31T09:00:00Z","program":"tavo","pid":1,"startTime":1})"),
          std::string(R"({"event":"suspend","time":"2026-01-31T09:00:00Z","program":"tavo","pid":1,"startTime":1})"),
          std::string(R"({"event":"start","time":"2026-01-31T09:00:00Z","program":7,"pid":1,"startTime":1})")}) {
        EXPECT_THROW(HistoryEntry::fromLine(line), DecodingError) << line;
    }
}

} // namespace
} // namespace tavo
