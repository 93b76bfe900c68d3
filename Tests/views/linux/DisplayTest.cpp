#include "Support/TemporaryDirectory.h"
#include "app/views/PlatformWindow.h"
#include "base/FileDescriptor.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace tavo {
namespace {

/// The environment of a program that is about to look for its display; the test's own comes back.
class DisplayTest : public testing::Test {
protected:
    DisplayTest() {
        for (const auto* name :
             {"WAYLAND_DISPLAY", "WAYLAND_SOCKET", "XDG_RUNTIME_DIR", "DISPLAY", "QT_QPA_PLATFORM"}) {
            const char* const value = std::getenv(name);
            saved[name] = value == nullptr ? std::nullopt : std::optional<std::string>(value);
            unsetenv(name);
        }
        set("XDG_RUNTIME_DIR", folder.path().string());
    }

    ~DisplayTest() override {
        for (const auto& [name, value] : saved) {
            value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
        }
    }

    static void set(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

    /// A compositor, as far as a program that connects to it sees.
    FileDescriptor listenAt(const std::string& name) const {
        const auto path = (folder.path() / name).string();
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        FileDescriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(listener.get(), 1), 0);
        return listener;
    }

    const TemporaryDirectory folder;

private:
    std::map<std::string, std::optional<std::string>> saved;
};

TEST_F(DisplayTest, WithNothingNamedThereIsNone) {
    EXPECT_FALSE(hasDisplay());
    set("WAYLAND_DISPLAY", "");
    set("DISPLAY", "");
    EXPECT_FALSE(hasDisplay());
}

TEST_F(DisplayTest, AWaylandSocketCountsWhileSomebodyListens) {
    set("WAYLAND_DISPLAY", "wayland-7");
    EXPECT_FALSE(hasDisplay()) << "no such socket";
    {
        const auto compositor = listenAt("wayland-7");
        EXPECT_TRUE(hasDisplay());
        set("WAYLAND_DISPLAY", (folder.path() / "wayland-7").string());
        EXPECT_TRUE(hasDisplay()) << "a whole path";
    }
    EXPECT_FALSE(hasDisplay()) << "the compositor has gone and left its socket";
}

TEST_F(DisplayTest, WithoutARuntimeFolderANameLeadsNowhere) {
    const auto compositor = listenAt("wayland-7");
    set("WAYLAND_DISPLAY", "wayland-7");
    unsetenv("XDG_RUNTIME_DIR");
    EXPECT_FALSE(hasDisplay());
}

TEST_F(DisplayTest, ANameThatNoSocketCanHaveLeadsNowhere) {
    set("WAYLAND_DISPLAY", std::string(300, 'x'));
    EXPECT_FALSE(hasDisplay());
}

TEST_F(DisplayTest, AnXServerThatHasGoneIsNone) {
    set("DISPLAY", ":99999");
    EXPECT_FALSE(hasDisplay());
}

TEST_F(DisplayTest, AChosenPlatformHasToBeThere) {
    set("QT_QPA_PLATFORM", "offscreen");
    EXPECT_TRUE(hasDisplay());
    set("QT_QPA_PLATFORM", "xcb");
    EXPECT_FALSE(hasDisplay());
    set("QT_QPA_PLATFORM", "wayland;xcb");
    set("WAYLAND_DISPLAY", "wayland-7");
    EXPECT_FALSE(hasDisplay());
    const auto compositor = listenAt("wayland-7");
    EXPECT_TRUE(hasDisplay());
    set("QT_QPA_PLATFORM", "xcb");
    EXPECT_FALSE(hasDisplay()) << "the other one is there";
}

} // namespace
} // namespace tavo
