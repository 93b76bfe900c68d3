#include "config/HistoryFile.h"

#include "Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>

namespace tavo {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class HistoryFileTest : public ::testing::Test {
protected:
    TemporaryDirectory folder;
    std::filesystem::path path = folder.path() / "Tavo" / "history.jsonl";
    HistoryFile file{path};

    static HistoryEntry entry(int processID) {
        return {.event = HistoryEvent::start,
                .time = *parseISO8601("2026-01-31T09:00:00Z"),
                .writer = {.program = "tavo", .processID = processID, .startTime = 1}};
    }

    static std::vector<int> processIDs(const HistoryContent& content) {
        std::vector<int> result;
        for (const auto& read : content.entries) {
            result.push_back(read.writer.processID);
        }
        return result;
    }
};

TEST_F(HistoryFileTest, LinesComeBackInTheirOrderAndAreTheUsersAlone) {
    file.append(entry(1));
    file.append(entry(2));
    EXPECT_EQ(processIDs(file.read()), (std::vector{1, 2}));
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(HistoryFileTest, WithoutAFileThereIsNoHistoryAndNoneIsMade) {
    EXPECT_THAT(file.read().entries, IsEmpty());
    EXPECT_FALSE(file.problem());
    EXPECT_FALSE(std::filesystem::exists(path.parent_path()));
}

TEST_F(HistoryFileTest, AFileThatOthersMayReadBecomesTheUsersAlone) {
    file.append(entry(1));
    std::filesystem::permissions(path, std::filesystem::perms(0644));
    file.append(entry(2));
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
}

TEST_F(HistoryFileTest, ALineThatAPowerFailureCutSpoilsOnlyItself) {
    file.append(entry(1));
    folder.write("Tavo/history.jsonl", fileContent(path) + entry(2).line().substr(0, 20));
    EXPECT_EQ(file.read().skippedLines, 1U);
    file.append(entry(3));
    const auto content = file.read();
    EXPECT_EQ(processIDs(content), (std::vector{1, 3}));
    EXPECT_EQ(content.skippedLines, 1U);
}

TEST_F(HistoryFileTest, ForeignAndHugeLinesAreSkippedAndCounted) {
    folder.write("Tavo/history.jsonl", "nonsense\n\n" + std::string(100000, '[') + "\n" + entry(1).line() + "\n" +
                                           std::string(50, '\0') + "\n");
    const auto content = file.read();
    EXPECT_EQ(processIDs(content), (std::vector{1}));
    EXPECT_EQ(content.skippedLines, 3U);
}

TEST_F(HistoryFileTest, OfAFileThatIsFarTooLargeOnlyTheEndIsRead) {
    folder.write("Tavo/history.jsonl", entry(1).line() + "\n");
    std::filesystem::resize_file(path, std::uintmax_t{1} << 33U); // a hole takes no space on the disk
    const auto content = file.read();
    EXPECT_THAT(content.entries, IsEmpty());
    EXPECT_EQ(content.skippedLines, 1U);
}

TEST_F(HistoryFileTest, AFullFileIsKeptAndTheOneBeforeItIsNot) {
    const auto lineLength = entry(1).line().size() + 1;
    const HistoryFile small(path, 2 * lineLength);
    for (const int number : {1, 2, 3, 4, 5}) {
        small.append(entry(number));
    }
    EXPECT_EQ(processIDs(small.read()), (std::vector{3, 4, 5}));
    EXPECT_EQ(fileContent(small.oldPath()), entry(3).line() + "\n" + entry(4).line() + "\n");
    EXPECT_EQ(std::filesystem::status(small.oldPath()).permissions(), std::filesystem::perms(0600));
}

TEST_F(HistoryFileTest, TwoWritersLoseNothingWhenAFileIsTurnedOver) {
    // Two hundred lines of two processes, and space for 150 in each of the two files.
    const HistoryFile shared(path, 150 * (entry(100).line().size() + 1));
    const auto writeHundred = [&](int first) {
        for (int number = first; number < first + 100; ++number) {
            shared.append(entry(number));
        }
    };
    const auto other = fork();
    if (other == 0) {
        writeHundred(200);
        _exit(0);
    }
    writeHundred(100);
    int status = -1;
    ASSERT_EQ(waitpid(other, &status, 0), other);
    ASSERT_EQ(status, 0);
    const auto content = shared.read();
    EXPECT_EQ(content.skippedLines, 0U);
    EXPECT_THAT(content.entries, SizeIs(200));
}

TEST_F(HistoryFileTest, LinksPipesAndFoldersAreRefused) {
    const auto elsewhere = folder.write("elsewhere", "mine\n");
    std::filesystem::create_directories(path.parent_path());
    const auto expectRefused = [&](const std::string& what) {
        EXPECT_THROW(file.append(entry(1)), std::system_error) << what;
        EXPECT_THROW(file.read(), std::system_error) << what;
        EXPECT_TRUE(file.problem()) << what;
        std::filesystem::remove(path);
    };
    std::filesystem::create_symlink(elsewhere, path);
    expectRefused("a link");
    EXPECT_EQ(fileContent(elsewhere), "mine\n");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    expectRefused("a pipe");
    std::filesystem::create_directory(path);
    expectRefused("a folder");
}

TEST_F(HistoryFileTest, AnotherUsersFileIsRefused) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    file.append(entry(1));
    ASSERT_EQ(chown(path.c_str(), 65534, 65534), 0);
    EXPECT_THROW(file.append(entry(2)), std::system_error);
    EXPECT_THAT(file.problem().value_or(""), HasSubstr("another user's file"));
}

TEST_F(HistoryFileTest, ALineThatDoesNotFitOnTheDiskIsAnError) {
    file.append(entry(1));
    // A limit on the size of files cuts a write short, as a full disk does.
    const auto child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const auto size = std::filesystem::file_size(path) + 10;
        const struct rlimit limit { size, size };
        setrlimit(RLIMIT_FSIZE, &limit);
        try {
            file.append(entry(2));
            _exit(1);
        } catch (const std::system_error&) {
            _exit(0);
        }
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    file.append(entry(3));
    EXPECT_EQ(processIDs(file.read()), (std::vector{1, 3}));
}

} // namespace
} // namespace tavo
