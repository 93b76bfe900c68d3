#include "Support/WaitUntil.h"
#include "TavoControl/PrintedLines.h"
#include "base/ErrorText.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace tavo {
namespace {

using ::testing::ElementsAre;

/// NO_COLOR as the test wants it, and afterwards as it was.
class NoColour {
public:
    explicit NoColour(const char* value) {
        if (const char* now = std::getenv("NO_COLOR")) {
            before = now;
        }
        set(value);
    }
    NoColour(const NoColour&) = delete;
    NoColour& operator=(const NoColour&) = delete;
    ~NoColour() { set(before ? before->c_str() : nullptr); }

private:
    static void set(const char* value) {
        if (value == nullptr) {
            unsetenv("NO_COLOR");
        } else {
            setenv("NO_COLOR", value, 1);
        }
    }

    std::optional<std::string> before;
};

/// A terminal whose other side the test reads.
class PseudoTerminal {
public:
    PseudoTerminal() : master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
            throw std::runtime_error("no pseudo-terminal can be had");
        }
        terminal = std::fopen(ptsname(master), "we");
        if (terminal == nullptr) {
            throw std::runtime_error("the pseudo-terminal cannot be opened");
        }
        termios settings{};
        tcgetattr(fileno(terminal), &settings);
        settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
        tcsetattr(fileno(terminal), TCSANOW, &settings);
    }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;
    ~PseudoTerminal() {
        std::fclose(terminal);
        close(master);
    }

    std::FILE* stream() const { return terminal; }

    /// Waits for a whole line.
    std::string line() const {
        std::string text;
        char unit = 0;
        while (!text.ends_with('\n') && read(master, &unit, 1) == 1) {
            text += unit;
        }
        return text;
    }

private:
    int master = -1;
    std::FILE* terminal = nullptr;
};

constexpr std::array emphases{Emphasis::strong, Emphasis::good, Emphasis::warning, Emphasis::bad};

TEST(Console, AFileGetsNoColour) {
    const NoColour unset(nullptr);
    const PrintedLines printed;
    for (const auto emphasis : emphases) {
        EXPECT_EQ(printed.console().styled("held", emphasis), "held");
    }
}

TEST(Console, ATerminalGetsADifferentColourForEveryEmphasis) {
    const NoColour unset(nullptr);
    const PseudoTerminal terminal;
    const Console console(terminal.stream());
    EXPECT_EQ(console.styled("held", Emphasis::strong), "\x1B[1mheld\x1B[0m");
    EXPECT_EQ(console.styled("held", Emphasis::good), "\x1B[32mheld\x1B[0m");
    EXPECT_EQ(console.styled("held", Emphasis::warning), "\x1B[33mheld\x1B[0m");
    EXPECT_EQ(console.styled("held", Emphasis::bad), "\x1B[31mheld\x1B[0m");
    EXPECT_EQ(console.styled("held", Emphasis::none), "held");
}

TEST(Console, OutputReachesTheTerminalAtOnce) {
    const NoColour unset(nullptr);
    const PseudoTerminal terminal;
    const Console console(terminal.stream());
    console.print(console.styled("awake", Emphasis::good));
    EXPECT_EQ(terminal.line(), "\x1B[32mawake\x1B[0m\n");
}

TEST(Console, ATerminalHasAWidthAndAFileHasNone) {
    const PseudoTerminal terminal;
    EXPECT_EQ(Console(terminal.stream()).width(), std::nullopt) << "this one has not been told any";
    winsize size{};
    size.ws_col = 40;
    ASSERT_EQ(ioctl(fileno(terminal.stream()), TIOCSWINSZ, &size), 0);
    EXPECT_EQ(Console(terminal.stream()).width(), 40U);
    EXPECT_EQ(PrintedLines().console().width(), std::nullopt);
}

TEST(Console, NoColorTakesTheColourAwayOnATerminal) {
    const PseudoTerminal terminal;
    const NoColour set("1");
    for (const auto emphasis : emphases) {
        EXPECT_EQ(Console(terminal.stream()).styled("held", emphasis), "held");
    }
}

TEST(Console, AnEmptyNoColorDoesNotCount) {
    const PseudoTerminal terminal;
    const NoColour empty("");
    EXPECT_EQ(Console(terminal.stream()).styled("held", Emphasis::strong), "\x1B[1mheld\x1B[0m");
}

TEST(Console, EveryLineIsInTheFileOnceItIsPrinted) {
    PrintedLines printed;
    printed.console().print("one");
    printed.console().print("");
    printed.console().print("three");
    EXPECT_THAT(printed.take(), ElementsAre("one", "", "three"));
}

TEST(Console, AFullDiskIsNoticed) {
    std::FILE* full = std::fopen("/dev/full", "we");
    if (full == nullptr) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    try {
        Console(full).print("line");
        ADD_FAILURE() << "it says nothing";
    } catch (const OutputError& error) {
        EXPECT_EQ(errorText(error), "the output cannot be written: no space left on device.");
        EXPECT_FALSE(error.isReaderGone());
    }
    std::fclose(full);
}

/// A pipe that only the test uses.
struct TestPipe {
    TestPipe() {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) {
            throw std::runtime_error("no pipe could be made");
        }
        reading = FileDescriptor(ends[0]);
        writing = FileDescriptor(ends[1]);
    }
    FileDescriptor reading;
    FileDescriptor writing;
};

TEST(ReaderWatch, AReaderThatGoesIsNoticedWithoutAWrite) {
    TestPipe pipe;
    std::atomic<int> told = 0;
    const ReaderWatch watch(pipe.writing.get(), [&] { ++told; });
    pipe.reading.reset();
    EXPECT_TRUE(waitUntil([&] { return told == 1; }));
}

TEST(ReaderWatch, AReaderThatHasGoneBeforeIsNoticed) {
    TestPipe pipe;
    pipe.reading.reset();
    std::atomic<int> told = 0;
    const ReaderWatch watch(pipe.writing.get(), [&] { ++told; });
    EXPECT_TRUE(waitUntil([&] { return told == 1; }));
}

TEST(ReaderWatch, NothingIsSaidWhileSomebodyReads) {
    TestPipe pipe;
    std::atomic<int> told = 0;
    {
        const ReaderWatch watch(pipe.writing.get(), [&] { ++told; });
        EXPECT_EQ(write(pipe.writing.get(), "x", 1), 1);
        char unit = 0;
        EXPECT_EQ(read(pipe.reading.get(), &unit, 1), 1);
    }
    EXPECT_EQ(told, 0);
}

TEST(ReaderWatch, AFileHasNoReader) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    std::atomic<int> told = 0;
    {
        const ReaderWatch watch(fileno(file), [&] { ++told; });
    }
    EXPECT_EQ(told, 0);
    std::fclose(file);
}

} // namespace
} // namespace tavo
