#include "Support/TemporaryDirectory.h"
#include "helper/PrivilegedHelperInstaller.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tavo {
namespace {

class PrivilegedHelperCompatibilityCheckerTest : public testing::Test {
protected:
    TemporaryDirectory folder;
    std::filesystem::path installed = folder.path() / "installed";
    PrivilegedHelperCompatibilityChecker checker{installed};

    bool matches(const std::optional<std::filesystem::path>& source) const {
        return checker.installedHelperMatchesCurrentBuild(source);
    }
};

TEST_F(PrivilegedHelperCompatibilityCheckerTest, EqualFilesMatch) {
    const std::string content(300000, 'x');
    folder.write("installed", content);
    EXPECT_TRUE(matches(folder.write("source", content)));
}

TEST_F(PrivilegedHelperCompatibilityCheckerTest, WithoutASourceNothingMatches) {
    folder.write("installed", "program");
    EXPECT_FALSE(matches(std::nullopt));
}

TEST_F(PrivilegedHelperCompatibilityCheckerTest, OneByteOfDifferenceIsEnough) {
    std::string content(300000, 'x');
    folder.write("installed", content);
    content.back() = 'y';
    EXPECT_FALSE(matches(folder.write("source", content)));
    content.pop_back();
    EXPECT_FALSE(matches(folder.write("source", content)));
}

TEST_F(PrivilegedHelperCompatibilityCheckerTest, AMissingFileMatchesNothing) {
    const auto source = folder.write("source", "program");
    EXPECT_FALSE(matches(source));
    folder.write("installed", "program");
    EXPECT_TRUE(matches(source));
    EXPECT_FALSE(matches(folder.path() / "missing"));
    EXPECT_FALSE(matches(std::filesystem::path()));
}

TEST_F(PrivilegedHelperCompatibilityCheckerTest, WhatIsNoFileMatchesNothingAndBlocksNobody) {
    std::filesystem::create_directory(installed);
    EXPECT_FALSE(matches(installed));
    const auto fifo = folder.path() / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_FALSE(PrivilegedHelperCompatibilityChecker(fifo).installedHelperMatchesCurrentBuild(fifo));
}

} // namespace
} // namespace tavo
