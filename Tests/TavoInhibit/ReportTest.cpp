#include "TavoInhibit/Report.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace tavo {
namespace {

class ReportTest : public ::testing::Test {
public:
    ReportTest() {
        EXPECT_EQ(::pipe2(pipe.data(), O_CLOEXEC | O_NONBLOCK), 0);
        ::fcntl(pipe[1], F_SETFL, 0);
    }
    ~ReportTest() override {
        ::close(pipe[0]);
        ::close(pipe[1]);
    }
    ReportTest(const ReportTest&) = delete;
    ReportTest& operator=(const ReportTest&) = delete;

protected:
    std::string written() {
        std::array<char, 65536> buffer{};
        const auto count = ::read(pipe[0], buffer.data(), buffer.size());
        return {buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0U};
    }

    std::array<int, 2> pipe{-1, -1};
};

TEST_F(ReportTest, ANoticeCannotEndItsLine) {
    Report(pipe[1]).post(
        {AssertionService::gnome, AssertionReportState::refused, "suspend", "one\ntwo\r\nthree\u2028four"});
    EXPECT_EQ(written(), "gnome refused suspend; one two  three four\n");
}

TEST_F(ReportTest, ALineIsWrittenAtOnceAndNeverLongerThanAPipeTakesWhole) {
    Report(pipe[1]).post({AssertionService::logind, AssertionReportState::held, "idle", ""});
    EXPECT_EQ(written(), "logind held idle\n");
    Report(pipe[1]).post({AssertionService::logind, AssertionReportState::held, "idle", std::string(5000, 'x')});
    const auto longLine = written();
    EXPECT_LE(longLine.size(), 4096U);
    EXPECT_TRUE(longLine.ends_with("x...\n"));
}

TEST_F(ReportTest, AFullPipeOrAClosedOneLosesTheLineAndNothingElse) {
    std::signal(SIGPIPE, SIG_IGN);
    ::fcntl(pipe[1], F_SETPIPE_SZ, 1);
    Report report(pipe[1]);
    report.postText("first");
    report.postText("second");
    EXPECT_EQ(written(), "first\n");
    ::close(pipe[0]);
    report.postText("third");
    pipe[0] = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    std::signal(SIGPIPE, SIG_DFL);
}

} // namespace
} // namespace tavo
