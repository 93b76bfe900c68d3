#include "config/TavoPaths.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace tavo {
namespace {

TEST(ApplicationSupport, AnAbsoluteXDGConfigHomeIsTheFolder) {
    const char* before = std::getenv("XDG_CONFIG_HOME");
    const std::string previous = before == nullptr ? "" : before;
    setenv("XDG_CONFIG_HOME", "/srv/settings of mine", 1);
    constexpr uid_t ordinaryUser = 54321;
    EXPECT_EQ(TavoPaths::defaultPaths(SystemUserDirectories(ordinaryUser)).rootDirectory, "/srv/settings of mine/Tavo");
    setenv("XDG_CONFIG_HOME", previous.c_str(), 1);
}

} // namespace
} // namespace tavo
