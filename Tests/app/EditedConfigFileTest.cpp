#include "app/EditedConfigFile.h"

#include "Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <system_error>

namespace tavo {
namespace {

TEST(EditedConfigFile, EachOneIsKeptUnderANameOfItsOwn) {
    const TemporaryDirectory folder;
    const TavoPaths paths{folder.path()};
    folder.write("config.json", "first");
    EXPECT_EQ(keepEditedConfigAside(paths), folder.path() / "config.json.edited");
    folder.write("config.json", "second");
    EXPECT_EQ(keepEditedConfigAside(paths), folder.path() / "config.json.edited.2");
    EXPECT_EQ(fileContent(folder.path() / "config.json.edited"), "first");
    EXPECT_EQ(fileContent(folder.path() / "config.json.edited.2"), "second");
    EXPECT_EQ(fileContent(folder.path() / "config.json"), "second");
}

TEST(EditedConfigFile, WithoutAFileThereIsNothingToKeep) {
    const TemporaryDirectory folder;
    EXPECT_EQ(keepEditedConfigAside(TavoPaths{folder.path()}), std::nullopt);
}

TEST(EditedConfigFile, AFileThatCannotBeReadIsAnError) {
    const TemporaryDirectory folder;
    std::filesystem::create_directory(folder.path() / "config.json");
    EXPECT_THROW(keepEditedConfigAside(TavoPaths{folder.path()}), std::system_error);
}

} // namespace
} // namespace tavo
