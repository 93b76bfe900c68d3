#include "base/Duration.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tavo {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

TEST(Duration, IsReadAsPeopleTypeIt) {
    EXPECT_EQ(parseDuration("90s"), seconds{90});
    EXPECT_EQ(parseDuration("45m"), minutes{45});
    EXPECT_EQ(parseDuration("2h"), hours{2});
    EXPECT_EQ(parseDuration("1h30m"), minutes{90});
    EXPECT_EQ(parseDuration("1h5s"), hours{1} + seconds{5});
    EXPECT_EQ(parseDuration("1h0m5s"), hours{1} + seconds{5});
    EXPECT_EQ(parseDuration("0"), seconds{0});
    EXPECT_EQ(parseDuration("0s"), seconds{0});
    EXPECT_EQ(parseDuration("007m"), minutes{7});
}

TEST(Duration, AnythingElseIsNone) {
    for (const auto* text : {"",     " ",    "90",    "00",   "s",     "m",    "h",          "-5m",   "+5m",  "1.5h",
                             "1,5h", "5M",   "5 m",   " 5m",  "5m ",   "5mm",  "5m5m",       "30m1h", "5s5m", "1d",
                             "5ms",  "1h30", "5m-3s", "1e3s", "0x10s", "five", "5\xC2\xB5s", "inf"}) {
        EXPECT_EQ(parseDuration(text), std::nullopt) << text;
    }
}

TEST(Duration, AYearIsTheLongest) {
    EXPECT_EQ(parseDuration("8760h"), maxDuration);
    EXPECT_EQ(parseDuration("525600m"), maxDuration);
    for (const auto* text : {"8761h", "8760h1s", "8759h61m", "31536001s", "99999999999999999999s", "99999999999999h"}) {
        EXPECT_EQ(parseDuration(text), std::nullopt) << text;
    }
}

TEST(Duration, IsWrittenSoThatItReadsBack) {
    EXPECT_EQ(formatDuration(seconds{0}), "0");
    EXPECT_EQ(formatDuration(seconds{90}), "1m30s");
    EXPECT_EQ(formatDuration(minutes{10}), "10m");
    EXPECT_EQ(formatDuration(hours{1} + seconds{5}), "1h5s");
    for (const long long length : {1LL, 59LL, 60LL, 3599LL, 3600LL, 86400LL, 31536000LL}) {
        EXPECT_EQ(parseDuration(formatDuration(seconds{length})), seconds{length});
    }
}

TEST(Duration, IsSpokenInItsLargestUnit) {
    const std::vector<std::pair<std::int64_t, std::string>> cases{
        {-5, "0 seconds"}, {0, "0 seconds"},    {1, "1 second"},    {12, "12 seconds"},   {59, "59 seconds"},
        {60, "1 minute"},  {119, "1 minute"},   {180, "3 minutes"}, {3599, "59 minutes"}, {3600, "1 hour"},
        {7200, "2 hours"}, {86399, "23 hours"}, {86400, "1 day"},   {172800, "2 days"}};
    for (const auto& [seconds, words] : cases) {
        EXPECT_EQ(spokenDuration(seconds), words) << seconds;
    }
}

} // namespace
} // namespace tavo
