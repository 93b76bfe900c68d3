#include "config/TavoPaths.h"

#include <gtest/gtest.h>
#include <pwd.h>

#include <cstdlib>
#include <optional>

namespace tavo {
namespace {

struct ScriptedUserDirectories final : UserDirectoriesProviding {
    std::vector<std::filesystem::path> applicationSupportDirectories() const override { return supportDirectories; }
    std::filesystem::path homeDirectory() const override { return "/home/somebody"; }

    std::vector<std::filesystem::path> supportDirectories;
};

/// Sets an environment variable for the length of a test.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const char* value) : name(name) {
        if (const char* old = std::getenv(name); old != nullptr) {
            previous = old;
        }
        setenv(name, value, 1);
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
    ~EnvironmentVariable() {
        if (previous) {
            setenv(name, previous->c_str(), 1);
        } else {
            unsetenv(name);
        }
    }

private:
    const char* name;
    std::optional<std::string> previous;
};

TEST(TavoPaths, TheFilesLieInTheFirstSupportDirectory) {
    ScriptedUserDirectories directories;
    directories.supportDirectories = {"/first", "/second"};
    const auto paths = TavoPaths::defaultPaths(directories);
    EXPECT_EQ(paths.rootDirectory, "/first/Tavo");
    EXPECT_EQ(paths.configURL(), "/first/Tavo/config.json");
    EXPECT_EQ(paths.stateURL(), "/first/Tavo/state.json");
    EXPECT_EQ(paths.lockURL(), "/first/Tavo/tavo.lock");
}

TEST(TavoPaths, WithoutASupportDirectoryThereAreNone) {
    const ScriptedUserDirectories directories;
    try {
        TavoPaths::defaultPaths(directories);
        FAIL() << "paths without a folder";
    } catch (const CocoaPathsError& error) {
        EXPECT_EQ(error.description(), "could not resolve the application support directory.");
    }
}

TEST(TavoPaths, TheLaunchAgentLiesInTheHomeDirectory) {
    EXPECT_EQ(TavoPaths::launchAgentURL(ScriptedUserDirectories()),
              "/home/somebody/Library/LaunchAgents/com.vrd.tavo.plist");
}

constexpr uid_t ordinaryUser = 54321;

TEST(TavoPaths, TheHomeDirectoryIsTheEnvironmentsUnlessThatIsNoPath) {
    const SystemUserDirectories directories(ordinaryUser);
    const EnvironmentVariable home("HOME", "/home/of mine");
    EXPECT_EQ(directories.homeDirectory(), "/home/of mine");
    const EnvironmentVariable noPath("HOME", "here");
    EXPECT_EQ(directories.homeDirectory(), "") << "the user database knows no such user";
}

TEST(TavoPaths, TheSupportDirectoryIsBelowTheHomeDirectory) {
    const EnvironmentVariable config("XDG_CONFIG_HOME", "relative");
    const EnvironmentVariable home("HOME", "/home/mine");
    const auto directories = SystemUserDirectories(ordinaryUser).applicationSupportDirectories();
    ASSERT_EQ(directories.size(), 1U);
    EXPECT_TRUE(directories[0] == "/home/mine/.config" || directories[0] == "/home/mine/Library/Application Support");
}

TEST(TavoPaths, RootsFoldersAreThoseOfItsAccountWhateverTheEnvironmentSays) {
    const EnvironmentVariable home("HOME", "/home/mallory");
    const EnvironmentVariable config("XDG_CONFIG_HOME", "/home/mallory/.config");
    const auto* const root = getpwuid(0);
    ASSERT_NE(root, nullptr);
    const std::filesystem::path account = root->pw_dir;
    const SystemUserDirectories directories(0);
    EXPECT_EQ(directories.homeDirectory(), account);
    const auto folders = directories.applicationSupportDirectories();
    ASSERT_EQ(folders.size(), 1U);
    EXPECT_TRUE(folders[0] == account / ".config" || folders[0] == account / "Library" / "Application Support");
}

} // namespace
} // namespace tavo
