#include "app/EditedConfigFile.h"

#include "Support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <system_error>

namespace tavo {
namespace {

/// While this lives, no file can grow beyond a few bytes, as on a disk that is full.
class FullDisk {
public:
    FullDisk() {
        getrlimit(RLIMIT_FSIZE, &before);
        auto limit = before;
        limit.rlim_cur = 4;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

private:
    void (*handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
};

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

TEST(EditedConfigFile, OnAFullDiskNoCopiesPileUpAndTheFileStaysAsItIs) {
    const TemporaryDirectory folder;
    folder.write("config.json", "edited by hand");
    for (int attempt = 0; attempt < 3; ++attempt) {
        const FullDisk full;
        EXPECT_THROW(keepEditedConfigAside(TavoPaths{folder.path()}), std::system_error);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
    EXPECT_EQ(fileContent(folder.path() / "config.json"), "edited by hand");
}

} // namespace
} // namespace tavo
