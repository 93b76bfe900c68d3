#include "runtime/ActivityFile.h"

#include "Support/TemporaryDirectory.h"
#include "TavoControl/LockHolder.h"
#include "base/JsonCoding.h"
#include "system/ProcessStart.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tavo {
namespace {

struct ActivityFileTest : testing::Test {
    TemporaryDirectory folder;
    TavoPaths paths{folder.path()};
    ActivityFile file{paths};
    WorkActivity activity{.requirement = {},
                          .measuredAt = *parseISO8601("2026-01-31T09:00:00Z"),
                          .trees = {{.pid = 7, .executableName = "claude", .cpuPercent = {}}},
                          .lastWorkAt = *parseISO8601("2026-01-31T09:00:00Z")};

    /// Has the file name another process than the one that wrote it.
    void putDownTo(pid_t process, const std::string& start) {
        file.write(activity);
        auto json = parseJson(fileContent(file.path()));
        json["processID"] = process;
        json["processStart"] = start;
        folder.write("activity.json", json.dump());
    }
    static std::string startOf(pid_t process) { return std::to_string(processStart(process).value_or(0)); }
};

TEST_F(ActivityFileTest, WhatTheHolderOfTheLockWroteIsBelieved) {
    const LockHolder holder(paths.lockURL());
    putDownTo(holder.pid(), startOf(holder.pid()));
    EXPECT_EQ(file.readOfRunningTavo(), activity);
}

TEST_F(ActivityFileTest, WithoutARunningTavoItIsNot) {
    file.write(activity);
    EXPECT_EQ(file.readOfRunningTavo(), std::nullopt);
}

TEST_F(ActivityFileTest, WhatAnotherProcessWroteIsNotBelieved) {
    const LockHolder holder(paths.lockURL());
    file.write(activity);
    EXPECT_EQ(file.readOfRunningTavo(), std::nullopt);
}

TEST_F(ActivityFileTest, NeitherIsAnEarlierProcessWithTheSameNumber) {
    const LockHolder holder(paths.lockURL());
    putDownTo(holder.pid(), std::to_string(*processStart(holder.pid()) - 1));
    EXPECT_EQ(file.readOfRunningTavo(), std::nullopt);
    putDownTo(holder.pid(), "");
    EXPECT_EQ(file.readOfRunningTavo(), std::nullopt);
}

TEST_F(ActivityFileTest, AMissingOrDamagedFileSaysNothing) {
    const LockHolder holder(paths.lockURL());
    EXPECT_EQ(file.readOfRunningTavo(), std::nullopt);
    putDownTo(holder.pid(), startOf(holder.pid()));
    const auto whole = fileContent(file.path());
    for (std::size_t length = 0; length < whole.size(); length += 7) {
        folder.write("activity.json", whole.substr(0, length));
        EXPECT_EQ(file.readOfRunningTavo(), std::nullopt) << length;
    }
    folder.write("activity.json", "[]");
    EXPECT_EQ(file.readOfRunningTavo(), std::nullopt);
    std::filesystem::remove(file.path());
    std::filesystem::create_directory(file.path());
    EXPECT_EQ(file.readOfRunningTavo(), std::nullopt);
}

TEST_F(ActivityFileTest, AFileBeyondOneMebibyteIsNotRead) {
    const LockHolder holder(paths.lockURL());
    putDownTo(holder.pid(), startOf(holder.pid()));
    const auto whole = fileContent(file.path());
    const std::size_t limit = std::size_t{1} << 20U;
    folder.write("activity.json", whole + std::string(limit - whole.size(), ' '));
    EXPECT_EQ(file.readOfRunningTavo(), activity);
    folder.write("activity.json", whole + std::string(limit - whole.size() + 1, ' '));
    EXPECT_EQ(file.readOfRunningTavo(), std::nullopt);
}

TEST_F(ActivityFileTest, NamesItsWriterAndIsTheUsersAlone) {
    file.write(activity);
    const auto json = parseJson(fileContent(file.path()));
    EXPECT_EQ(json["processID"], getpid());
    EXPECT_EQ(json["processStart"], startOf(getpid()));
    struct stat status {};
    ASSERT_EQ(stat(file.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(ActivityFileTest, RemovingItTwiceIsNoFailure) {
    file.write(activity);
    file.remove();
    EXPECT_FALSE(std::filesystem::exists(file.path()));
    file.remove();
}

} // namespace
} // namespace tavo
