#include "app/LoginOptionsFile.h"

#include "Support/TemporaryDirectory.h"
#include "base/DescribedError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tavo {
namespace {

struct LoginOptionsFileTest : testing::Test {
    TemporaryDirectory folder;
    LoginOptionsFile file{folder.path() / "Tavo" / "login.conf"};
    std::filesystem::path path = folder.path() / "Tavo" / "login.conf";
};

TEST_F(LoginOptionsFileTest, WhatIsWrittenReadsBack) {
    EXPECT_EQ(file.read(), std::nullopt);
    for (const auto& requirement :
         {WorkRequirement(), WorkRequirement{.busyPercent = 2.5, .grace = std::chrono::minutes{90}},
          WorkRequirement{.grace = std::chrono::seconds{0}}}) {
        file.write(requirement);
        EXPECT_EQ(file.read(), requirement);
    }
    EXPECT_EQ(fileContent(path), "while-working\ngrace 0\n");
    file.write(std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(path));
    file.write(std::nullopt);
}

TEST_F(LoginOptionsFileTest, IsItsUsersAlone) {
    file.write(WorkRequirement());
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(LoginOptionsFileTest, ADamagedFileIsNamedAndStays) {
    for (const auto* text : {"", "\n", "whileworking\n", "busy 2\n", "while-working\nbusy\n", "while-working\nbusy 0\n",
                             "while-working\nbusy 2\nbusy 3\n", "while-working\ngrace 10\n", "while-working\nother 1\n",
                             "while-working \n", "while-working\nwhile-working\n"}) {
        folder.write("Tavo/login.conf", text);
        try {
            file.read();
            ADD_FAILURE() << "accepted: " << text;
        } catch (const DescribedError& error) {
            EXPECT_THAT(error.description(), testing::HasSubstr(path.string() + " is not obeyed, since "));
        }
        EXPECT_EQ(fileContent(path), text);
    }
}

} // namespace
} // namespace tavo
