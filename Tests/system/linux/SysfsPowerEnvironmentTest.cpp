#include "system/linux/SysfsSupplies.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>

namespace tavo {
namespace {

using namespace sysfs;

TEST(SysfsPowerEnvironment, AMissingFolderIsAMachineWithoutSupplies) {
    const FolderTree tree;
    EXPECT_EQ(SysfsPowerEnvironment(tree.root() / "missing").currentStatus(), status(ac, std::nullopt, std::nullopt));
}

TEST(SysfsPowerEnvironment, AFolderThatCannotBeReadSaysNothing) {
    const FolderTree tree;
    tree.write("file", "");
    EXPECT_EQ(SysfsPowerEnvironment(tree.root() / "file").currentStatus(), PowerStatus{});
}

TEST(SysfsPowerEnvironment, FoldersAndPipesInPlaceOfFilesAreUnreadable) {
    const FolderTree tree;
    for (const auto& [file, content] : batteryWith("capacity", "77\n")) {
        tree.write(file, content);
    }
    std::filesystem::remove(tree.root() / "BAT0/energy_now");
    std::filesystem::create_directory(tree.root() / "BAT0/energy_now");
    std::filesystem::remove(tree.root() / "BAT0/scope");
    ASSERT_EQ(mkfifo((tree.root() / "BAT0/scope").c_str(), 0600), 0);
    EXPECT_EQ(SysfsPowerEnvironment(tree.root()).currentStatus(), status(battery, 77, false));
}

TEST(SysfsPowerEnvironment, SuppliesAreFoundThroughLinksAndDeadLinksAreIgnored) {
    const FolderTree tree;
    for (const auto& [file, content] : discharging) {
        tree.write("devices/" + file, content);
    }
    const auto supplies = tree.root() / "class";
    std::filesystem::create_directory(supplies);
    std::filesystem::create_directory_symlink("../devices/BAT0", supplies / "BAT0");
    std::filesystem::create_directory_symlink("../devices/gone", supplies / "AC");
    EXPECT_EQ(SysfsPowerEnvironment(supplies).currentStatus(), status(battery, 80, false));
}

TEST(SysfsPowerEnvironment, EveryReadingIsANewOne) {
    const FolderTree tree;
    const SysfsPowerEnvironment environment(tree.root());
    EXPECT_EQ(environment.currentStatus().batteryPercent, std::nullopt);
    for (const auto& [file, content] : discharging) {
        tree.write(file, content);
    }
    EXPECT_EQ(environment.currentStatus().batteryPercent, 80);
    tree.write("BAT0/energy_now", "41\n");
    EXPECT_EQ(environment.currentStatus().batteryPercent, 82);
}

TEST(SysfsPowerEnvironment, ThisMachineIsReadWithoutFailing) {
    const auto read = SysfsPowerEnvironment().currentStatus();
    EXPECT_TRUE(!read.batteryPercent || *read.batteryPercent >= 0);
}

} // namespace
} // namespace tavo
