#include "Console.h"

#include "Support/CapturedStream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

namespace tavo {
namespace {

/// The far end of a pseudo-terminal, pty(7).
class Terminal {
public:
    Terminal() : master(posix_openpt(O_RDWR | O_NOCTTY)) {
        EXPECT_EQ(grantpt(master), 0);
        EXPECT_EQ(unlockpt(master), 0);
        stream = std::fopen(ptsname(master), "w"); // NOLINT(concurrency-mt-unsafe): the test has one thread
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        std::fclose(stream);
        close(master);
    }

    int master;
    std::FILE* stream = nullptr;
};

TEST(Console, AFileGetsNoColour) {
    const CapturedStream file;
    EXPECT_EQ(Console(file.get()).styled("text", Emphasis::bad), "text");
}

TEST(Console, ATerminalGetsColourUnlessTheUserWantsNone) {
    const Terminal terminal;
    unsetenv("NO_COLOR");
    EXPECT_EQ(Console(terminal.stream).styled("text", Emphasis::bad), "\x1B[31mtext\x1B[0m");
    EXPECT_EQ(Console(terminal.stream).styled("text", Emphasis::none), "text");
    setenv("NO_COLOR", "", 1);
    EXPECT_NE(Console(terminal.stream).styled("text", Emphasis::bad), "text");
    setenv("NO_COLOR", "1", 1);
    EXPECT_EQ(Console(terminal.stream).styled("text", Emphasis::bad), "text");
    unsetenv("NO_COLOR");
}

TEST(Console, ALineIsWrittenWhole) {
    const CapturedStream file;
    EXPECT_TRUE(Console(file.get()).print("one"));
    EXPECT_EQ(file.text(), "one\n");
}

TEST(Console, ALineThatCannotBeWrittenIsNoticed) {
    std::FILE* full = std::fopen("/dev/full", "w");
    if (full == nullptr) {
        GTEST_SKIP() << "needs /dev/full";
    }
    EXPECT_FALSE(Console(full).print("one"));
    std::fclose(full);
}

} // namespace
} // namespace tavo
