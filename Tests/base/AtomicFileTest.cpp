#include "base/AtomicFile.h"

#include "Support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <system_error>

namespace tavo {
namespace {

mode_t permissions(const std::filesystem::path& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

std::size_t entriesIn(const std::filesystem::path& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST(AtomicFile, ANewFileIsTheUsersAlone) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "file";
    replaceFileAtomically(path, "content");
    EXPECT_EQ(fileContent(path), "content");
    EXPECT_EQ(permissions(path), 0600U);
}

TEST(AtomicFile, AReplacedFileBecomesTheUsersAloneAndNothingElseIsLeft) {
    const TemporaryDirectory folder;
    const auto path = folder.write("file", "old");
    chmod(path.c_str(), 0644);
    replaceFileAtomically(path, "new");
    EXPECT_EQ(fileContent(path), "new");
    EXPECT_EQ(permissions(path), 0600U);
    EXPECT_EQ(entriesIn(folder.path()), 1U);
}

TEST(AtomicFile, AReaderOfTheOldFileReadsItWhole) {
    const TemporaryDirectory folder;
    const auto path = folder.write("file", "old content");
    std::ifstream reader(path);
    replaceFileAtomically(path, "new");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old content");
}

TEST(AtomicFile, ALinkStaysALink) {
    const TemporaryDirectory folder;
    const auto target = folder.write("elsewhere/file", "old");
    const auto link = folder.path() / "link";
    std::filesystem::create_symlink(target, link);
    replaceFileAtomically(link, "new");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(fileContent(target), "new");
}

TEST(AtomicFile, AFolderInTheFilesPlaceIsAnErrorAndLeavesNoTemporaryFile) {
    const TemporaryDirectory folder;
    std::filesystem::create_directory(folder.path() / "file");
    EXPECT_THROW(replaceFileAtomically(folder.path() / "file", "new"), std::system_error);
    EXPECT_EQ(entriesIn(folder.path()), 1U);
}

TEST(AtomicFile, AFolderThatDoesNotExistIsNamed) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "missing" / "file";
    try {
        replaceFileAtomically(path, "new");
        FAIL() << "written into a missing folder";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
        EXPECT_NE(std::string(error.what()).find(path.string()), std::string::npos) << error.what();
    }
}

TEST(AtomicFile, MissingFoldersAreMadeForTheUserAlone) {
    const TemporaryDirectory folder;
    ensureDirectoryExists(folder.path() / "a" / "b" / "c");
    EXPECT_EQ(permissions(folder.path() / "a"), 0700U);
    EXPECT_EQ(permissions(folder.path() / "a" / "b" / "c"), 0700U);
    EXPECT_NO_THROW(ensureDirectoryExists(folder.path() / "a" / "b" / "c"));
    EXPECT_NO_THROW(ensureDirectoryExists(folder.path() / "a" / "d" / ""));
}

TEST(AtomicFile, AFileInTheFoldersPlaceIsAnError) {
    const TemporaryDirectory folder;
    folder.write("file", "");
    EXPECT_THROW(ensureDirectoryExists(folder.path() / "file"), std::system_error);
    EXPECT_THROW(ensureDirectoryExists(folder.path() / "file" / "below"), std::system_error);
}

TEST(AtomicFile, ALinkThatLeadsNowhereIsNamedAndLeft) {
    const TemporaryDirectory folder;
    const auto link = folder.path() / "link";
    std::filesystem::create_symlink("/nowhere/at/all", link);
    for (const auto& wanted : {link, link / "below"}) {
        try {
            ensureDirectoryExists(wanted);
            ADD_FAILURE() << "it was made";
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
            EXPECT_EQ(std::string(error.what()).find(link.string() + " is a link to /nowhere/at/all"), 0U)
                << error.what();
        }
    }
}

TEST(AtomicFile, WhatIsNoFileCannotBeReadAndBlocksNobody) {
    const TemporaryDirectory folder;
    EXPECT_THROW(readWholeFile(folder.path()), std::system_error);
    EXPECT_THROW(readWholeFile(folder.path() / "missing"), std::system_error);
    const auto fifo = folder.path() / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_THROW(readWholeFile(fifo), std::system_error);
}

TEST(AtomicFile, AFileBeyondTheLimitIsRefusedHoweverLongItIs) {
    const TemporaryDirectory folder;
    const auto path = folder.write("file", "12345");
    EXPECT_EQ(readWholeFile(path, 5), "12345");
    for (const std::uintmax_t size : {std::uintmax_t{6}, std::uintmax_t{1} << 40U}) {
        std::filesystem::resize_file(path, size); // a hole takes no space on the disk
        try {
            readWholeFile(path, 5);
            FAIL() << size << " bytes passed";
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code(), std::errc::file_too_large);
        }
    }
}

TEST(AtomicFile, WhatIsStagedAndNotMovedVanishes) {
    const TemporaryDirectory folder;
    const auto path = folder.write("file", "old");
    {
        const StagedFile staged(path, "new");
        EXPECT_EQ(entriesIn(folder.path()), 2U);
        EXPECT_EQ(staged.target(), path);
    }
    EXPECT_EQ(fileContent(path), "old");
    EXPECT_EQ(entriesIn(folder.path()), 1U);
}

TEST(AtomicFile, RootLeavesAReplacedFileToItsOwner) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root, to give a file away";
    }
    const TemporaryDirectory folder;
    const auto path = folder.write("file", "old");
    ASSERT_EQ(chown(path.c_str(), 54321, 54322), 0);
    replaceFileAtomically(path, "new");
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(fileContent(path), "new");
    EXPECT_EQ(status.st_uid, 54321U);
    EXPECT_EQ(status.st_gid, 54322U);
    EXPECT_EQ(permissions(path), 0600U);
}

} // namespace
} // namespace tavo
