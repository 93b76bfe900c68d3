#include "system/ProgramLocation.h"

#include "Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

class ProgramLocation : public testing::Test {
protected:
    std::optional<std::filesystem::path> find() const {
        return findCompanionProgram(folder.path() / "bin/tavo", "tool", {"../libexec/tavo", "../Helpers"});
    }

    TemporaryDirectory folder;
};

TEST_F(ProgramLocation, TheOwnFolderComesFirstThenTheOthersInTheirOrder) {
    EXPECT_EQ(find(), std::nullopt);
    folder.write("Helpers/tool", "");
    EXPECT_EQ(find(), folder.path() / "Helpers/tool");
    folder.write("libexec/tavo/tool", "");
    EXPECT_EQ(find(), folder.path() / "libexec/tavo/tool");
    folder.write("bin/tool", "");
    EXPECT_EQ(find(), folder.path() / "bin/tool");
}

TEST_F(ProgramLocation, AFolderIsNoProgram) {
    std::filesystem::create_directories(folder.path() / "bin/tool");
    EXPECT_EQ(find(), std::nullopt);
    folder.write("Helpers/tool", "");
    EXPECT_EQ(find(), folder.path() / "Helpers/tool");
}

} // namespace
} // namespace tavo
