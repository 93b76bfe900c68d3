#include "TavoInhibit/UserDesktop.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace tavo {
namespace {

TEST(UserDesktop, ADisplayOfThisComputerIsOneThatNoNetworkLeadsTo) {
    EXPECT_TRUE(namesLocalDisplay("wayland-0", nullptr));
    EXPECT_TRUE(namesLocalDisplay(nullptr, ":0"));
    EXPECT_TRUE(namesLocalDisplay("", ":1.0"));
    EXPECT_TRUE(namesLocalDisplay(nullptr, "unix:0"));
    EXPECT_FALSE(namesLocalDisplay(nullptr, "localhost:10.0"));
    EXPECT_FALSE(namesLocalDisplay(nullptr, "elsewhere:0"));
    EXPECT_FALSE(namesLocalDisplay(nullptr, nullptr));
    EXPECT_FALSE(namesLocalDisplay("", ""));
}

TEST(UserDesktop, RootsLocksNeedNoDesktopToAgree) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can try out what holds for root";
    }
    ::setenv("WAYLAND_DISPLAY", "wayland-0", 1);
    EXPECT_FALSE(isOrdinaryUserOfDesktop());
    ::unsetenv("WAYLAND_DISPLAY");
}

} // namespace
} // namespace tavo
