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
