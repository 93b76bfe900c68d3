#include "TavoControl/AwakeChart.h"

#include "TavoControl/PrintedLines.h"
#include "TavoControl/TimeZone.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

TimePoint at(const std::string& text) {
    return *parseISO8601(text);
}

class AwakeChartTest : public ::testing::Test {
protected:
    TimeZone zone{TimeZone::centralEurope};
    PrintedLines output;

    std::vector<std::string> lines(const std::vector<AwakeChart::Span>& awake, const std::string& from,
                                   const std::string& to, std::size_t width = 100) const {
        return AwakeChart(awake, at(from), at(to)).lines(output.console(), width);
    }

    /// Without the indentation.
    static std::size_t lengthOf(const std::string& bar) { return bar.size() - 2; }
};

TEST_F(AwakeChartTest, ADayIsALineOf96Quarters) {
    const auto drawn = lines({{at("2026-01-31T00:00:00Z"), at("2026-01-31T01:00:00Z")},
                              {at("2026-01-31T22:50:00Z"), at("2026-01-31T22:51:00Z")}},
                             "2026-01-30T23:00:00Z", "2026-01-31T23:00:00Z");
    EXPECT_THAT(drawn,
                ElementsAre("saturday 2026-01-31",
                            "  0   1   2   3   4   5   6   7   8   9   10  11  12  13  14  15  16  17  18  19  20  "
                            "21  22  23",
                            "  ....####" + std::string(87, '.') + "#"));
    EXPECT_EQ(lengthOf(drawn[2]), 96U);
}

TEST_F(AwakeChartTest, TimeOutsideTheRequestedRangeIsBlank) {
    const auto drawn = lines({{at("2026-01-30T00:00:00Z"), at("2026-02-02T00:00:00Z")}}, "2026-01-31T02:00:00Z",
                             "2026-01-31T03:10:00Z");
    EXPECT_EQ(drawn[2], "  " + std::string(12, ' ') + "#####" + std::string(79, ' '));
}

TEST_F(AwakeChartTest, TheDayOnWhichSummerTimeBeginsLeavesAnHourOut) {
    const auto drawn = lines({{at("2026-03-29T00:45:00Z"), at("2026-03-29T01:15:00Z")}}, "2026-03-28T23:00:00Z",
                             "2026-03-29T22:00:00Z", 26);
    EXPECT_EQ(drawn[1], "  0   1   3   4   5   6");
    EXPECT_EQ(drawn[2], "  .......##" + std::string(15, '.'));
    EXPECT_EQ(lengthOf(drawn[2]) + lengthOf(drawn[4]) + lengthOf(drawn[6]) + lengthOf(drawn[8]), 92U);
}

TEST_F(AwakeChartTest, TheDayOnWhichSummerTimeEndsHasAnHourTwice) {
    const auto drawn = lines({{at("2026-10-25T00:00:00Z"), at("2026-10-25T01:00:00Z")}}, "2026-10-24T22:00:00Z",
                             "2026-10-25T23:00:00Z");
    EXPECT_THAT(drawn, SizeIs(5));
    EXPECT_EQ(drawn[1].substr(0, 24), "  0   1   2   2   3   4 ");
    EXPECT_EQ(drawn[2].substr(0, 24), "  ........####..........");
    EXPECT_EQ(lengthOf(drawn[2]), 96U);
    EXPECT_EQ(drawn[3], "  23");
    EXPECT_EQ(drawn[4], "  ....");
}

TEST_F(AwakeChartTest, ANarrowTerminalGetsShorterRows) {
    for (const std::size_t width : {8U, 20U, 40U, 80U, 97U, 98U, 200U}) {
        std::size_t quarters = 0;
        const auto drawn = lines({}, "2026-01-30T23:00:00Z", "2026-01-31T23:00:00Z", width);
        for (std::size_t row = 2; row < drawn.size(); row += 2) {
            EXPECT_LE(drawn[row].size(), width);
            EXPECT_LE(drawn[row - 1].size(), width);
            quarters += lengthOf(drawn[row]);
        }
        EXPECT_EQ(quarters, 96U) << width;
    }
}

TEST_F(AwakeChartTest, SeveralDaysComeOneAfterTheOther) {
    const auto drawn = lines({}, "2026-01-30T12:00:00Z", "2026-02-01T12:00:00Z");
    ASSERT_THAT(drawn, SizeIs(9));
    EXPECT_EQ(drawn[0], "friday 2026-01-30");
    EXPECT_EQ(drawn[3], "saturday 2026-01-31");
    EXPECT_EQ(drawn[6], "sunday 2026-02-01");
}

TEST_F(AwakeChartTest, TimeThatTwoProgramsKeptAwakeCountsOnce) {
    const AwakeChart chart({{at("2026-01-31T10:00:00Z"), at("2026-01-31T12:00:00Z")},
                            {at("2026-01-31T09:00:00Z"), at("2026-01-31T11:00:00Z")},
                            {at("2026-01-31T01:00:00Z"), at("2026-01-31T05:00:00Z")}},
                           at("2026-01-31T04:00:00Z"), at("2026-01-31T11:30:00Z"));
    EXPECT_EQ(chart.awakeTime(), std::chrono::minutes{60 + 150});
}

} // namespace
} // namespace tavo
