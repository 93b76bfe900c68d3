#pragma once

#include "Support/TemporaryDirectory.h"
#include "base/TrustedPath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace tavo {

/// Folders of another user beside those of root, and the refusal that root gets in them. Skips the test when not root.
class ForeignFolders : public testing::Test {
protected:
    static constexpr uid_t mallory = 54321;

    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "needs root, whom all this is about";
        }
        std::filesystem::create_directories(users / "deep");
        std::filesystem::create_directories(roots);
        give(users);
        give(users / "deep");
    }

    static void give(const std::filesystem::path& path) {
        ASSERT_EQ(lchown(path.c_str(), mallory, mallory), 0) << path;
    }

    template <typename Operation>
    void expectRefusal(Operation operation, const std::string& reason) {
        try {
            operation();
            ADD_FAILURE() << "nothing was refused where it should say: " << reason;
        } catch (const UntrustedPathError& error) {
            EXPECT_THAT(error.description(), testing::HasSubstr(reason));
            EXPECT_TRUE(error.description().ends_with("with --root.")) << error.description();
        }
    }

    TemporaryDirectory folder;
    std::filesystem::path users = folder.path() / "users";
    std::filesystem::path roots = folder.path() / "roots";
};

} // namespace tavo
