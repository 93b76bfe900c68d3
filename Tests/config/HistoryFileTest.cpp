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
using ::testing::StartsWith;

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

    /// Why a line cannot be appended, and why none can be read.
    std::pair<std::string, std::string> refusals() const {
        const auto messageOf = [](const auto& operation) {
            try {
                operation();
            } catch (const std::system_error& error) {
                return std::string(error.what());
            }
            return std::string("succeeded");
        };
        return {messageOf([&] { file.append(entry(1)); }), messageOf([&] { file.read(); })};
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

TEST_F(HistoryFileTest, TheLastFourMebibytesAreRead) {
    const std::size_t limit = std::size_t{4} << 20U;
    const std::string filler = std::string(9999, 'x') + "\n"; // too long for a line, which is soon told
    const auto last = entry(2).line() + "\n";
    std::string content = entry(1).line() + "\n";
    while (content.size() <= limit) {
        content += filler;
    }
    folder.write("Tavo/history.jsonl", content + last);
    const auto read = file.read();
    EXPECT_EQ(processIDs(read), (std::vector{2}));
    ASSERT_GT((limit - last.size()) % filler.size(), 1U);
    EXPECT_EQ(read.skippedLines, (limit - last.size()) / filler.size() + 1) << "with the one that the limit cut";
}

TEST_F(HistoryFileTest, ALineThatIsLargerThanAFullFileIsWrittenAllTheSame) {
    const HistoryFile tiny(path, 1);
    tiny.append(entry(1));
    EXPECT_FALSE(std::filesystem::exists(tiny.oldPath())) << "an empty file is not turned over";
    tiny.append(entry(2));
    EXPECT_EQ(processIDs(tiny.read()), (std::vector{1, 2}));
    EXPECT_EQ(fileContent(path), entry(2).line() + "\n");
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
    const auto expectRefused = [&](const std::string& kind) {
        const auto [append, read] = refusals();
        const auto rest = path.string() + ", which is " + kind + " and not a file; move it away";
        EXPECT_THAT(append, StartsWith("could not append to " + rest));
        EXPECT_THAT(file.problem().value_or(""), StartsWith("could not append to " + rest));
        EXPECT_THAT(read, StartsWith("could not read " + rest));
        std::filesystem::remove(path);
    };
    std::filesystem::create_symlink(elsewhere, path);
    expectRefused("a link");
    EXPECT_EQ(fileContent(elsewhere), "mine\n");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    expectRefused("a pipe");
    std::filesystem::create_directory(path);
    EXPECT_THAT(refusals().first, StartsWith("could not append to " + path.string() + ": "));
    EXPECT_THAT(file.problem().value_or(""), StartsWith("could not append to " + path.string() + ": "));
    EXPECT_THAT(refusals().second, StartsWith("could not read " + path.string() + ", which is a folder"));
}

TEST_F(HistoryFileTest, AnotherUsersFileIsRefused) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    file.append(entry(1));
    ASSERT_EQ(chown(path.c_str(), 65534, 65534), 0);
    EXPECT_THAT(refusals().first, StartsWith("could not append to another user's file, " + path.string() + ": "));
    EXPECT_THAT(refusals().second, StartsWith("could not read another user's file, " + path.string() + ": "));
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
        } catch (const std::system_error& error) {
            _exit(error.code() == std::errc::no_space_on_device &&
                          std::string(error.what()).starts_with("could not append to " + path.string())
                      ? 0
                      : 2);
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
