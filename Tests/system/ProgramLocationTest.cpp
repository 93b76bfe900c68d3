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

TEST_F(ProgramLocation, TheOwnFolderMayComeLast) {
    const auto findLast = [this] {
        return findProgram(folder.path() / "MacOS/tavo", "helper", {"../Helpers", "../MacOS", "../Resources", "."});
    };
    EXPECT_EQ(findLast(), std::nullopt);
    for (const auto* place : {"Resources/helper", "MacOS/helper", "Helpers/helper"}) {
        folder.write(place, "");
        EXPECT_EQ(findLast(), folder.path() / place);
    }
    EXPECT_EQ(findProgram(folder.path() / "bin/tavo", "helper", {"../lib", "."}), std::nullopt);
    folder.write("bin/helper", "");
    EXPECT_EQ(findProgram(folder.path() / "bin/tavo", "helper", {"../lib", "."}), folder.path() / "bin/helper");
}

TEST_F(ProgramLocation, AFolderIsNoProgram) {
    std::filesystem::create_directories(folder.path() / "bin/tool");
    EXPECT_EQ(find(), std::nullopt);
    folder.write("Helpers/tool", "");
    EXPECT_EQ(find(), folder.path() / "Helpers/tool");
}

} // namespace
} // namespace tavo
