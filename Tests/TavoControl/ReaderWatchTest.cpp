#include "TavoControl/ReaderWatch.h"

#include "Support/WaitUntil.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>

namespace tavo {
namespace {

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
