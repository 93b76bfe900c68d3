#include "base/UnfinishedFile.h"

#include "Support/KilledSaves.h"
#include "Support/TemporaryDirectory.h"
#include "base/AtomicFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tavo {
namespace {

/// Long enough for several pages, so that a file that is not whole can be told.
std::string contentWith(int number) {
    std::string content;
    while (content.size() < 20000) {
        content += std::to_string(number) + "\n";
    }
    return content;
}

class UnfinishedFileTest : public testing::Test {
protected:
    TemporaryDirectory folder;
    std::filesystem::path place = folder.path() / "file";
};

TEST_F(UnfinishedFileTest, AFileThatIsReplacedIsWholeWheneverItsWriterIsKilled) {
    KilledSaves saves;
    saves.folder = folder.path();
    saves.save = [&](int number) { replaceFileAtomically(place, contentWith(number)); };
    saves.holds = [&](int number) { return fileContent(place) == contentWith(number); };
    saves.expectWholeAfterEveryKill();
}

TEST_F(UnfinishedFileTest, AFileThatIsMadeIsWholeOrNotThereWheneverItsWriterIsKilled) {
    KilledSaves saves;
    saves.folder = folder.path();
    saves.save = [&](int number) {
        const UnfinishedFile remover(place);
        createFile(place.string() + "." + std::to_string(number), contentWith(number));
        std::filesystem::remove(place.string() + "." + std::to_string(number - 1));
    };
    saves.holds = [&](int number) {
        const auto next = place.string() + "." + std::to_string(number + 1);
        EXPECT_TRUE(!std::filesystem::exists(next) || fileContent(next) == contentWith(number + 1));
        return fileContent(place.string() + "." + std::to_string(number)) == contentWith(number);
    };
    saves.expectWholeAfterEveryKill();
}

TEST_F(UnfinishedFileTest, OnesThatWereLeftAreRemovedAndOthersAreNot) {
    folder.write("file.unfinished-aB3456", "left");
    folder.write("file.edited.unfinished-aB3456", "left");
    for (const auto* name : {"file", "file.unfinished-a", "file.unfinished-backups", "file.unfinished-ab-456",
                             "file.edited", "files.unfinished-aB3456", "other.unfinished-aB3456"}) {
        folder.write(name, "kept");
    }
    std::filesystem::create_directory(folder.path() / "file.unfinished-folder");
    std::filesystem::create_symlink(folder.path() / "file", folder.path() / "file.unfinished-linked");
    ASSERT_EQ(mkfifo((folder.path() / "file.unfinished-apipe0").c_str(), 0600), 0);
    { const UnfinishedFile file(place); }
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "file.unfinished-aB3456"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "file.edited.unfinished-aB3456"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 10);
}

TEST_F(UnfinishedFileTest, OnesThatAreBeingWrittenAreLeftAlone) {
    const StagedFile first(place, "first");
    StagedFile second(place, "second");
    EXPECT_EQ(unfinishedFilesIn(folder.path()), 2U);
    second.moveIntoPlace();
    EXPECT_EQ(unfinishedFilesIn(folder.path()), 1U);
    EXPECT_EQ(fileContent(place), "second");
}

TEST_F(UnfinishedFileTest, ManyWritersOfOneFileDisturbNobody) {
    constexpr int writers = 4;
    const int saves = isThorough() ? 10000 : 100;
    for (int writer = 0; writer < writers; ++writer) {
        if (fork() == 0) {
            try {
                for (int number = 0; number < saves; ++number) {
                    replaceFileAtomically(place, contentWith(writer));
                }
                _exit(0);
            } catch (const std::exception& error) {
                std::cerr << error.what() << std::endl;
                _exit(1);
            }
        }
    }
    for (int writer = 0; writer < writers; ++writer) {
        int status = -1;
        wait(&status);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(unfinishedFilesIn(folder.path()), 0U);
    EXPECT_EQ(std::filesystem::file_size(place), contentWith(0).size());
}

TEST_F(UnfinishedFileTest, ANameThatIsTakenIsLeftAlone) {
    folder.write("file", "mine");
    UnfinishedFile file(place);
    file.write("content");
    EXPECT_FALSE(file.linkIntoPlace());
    EXPECT_EQ(fileContent(place), "mine");
    std::filesystem::remove(place);
    EXPECT_TRUE(file.linkIntoPlace());
    EXPECT_EQ(fileContent(place), "content");
}

} // namespace
} // namespace tavo
