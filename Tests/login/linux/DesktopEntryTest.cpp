#include "login/linux/DesktopEntry.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(DesktopExec, IsOneQuotedArgument) {
    EXPECT_EQ(desktopExecValue("/usr/bin/tavo"), R"("/usr/bin/tavo")");
    EXPECT_EQ(desktopExecValue("/a b/tavo"), R"("/a b/tavo")");
    EXPECT_EQ(desktopExecValue("/it's/é/tavo"), R"("/it's/é/tavo")");
}

TEST(DesktopExec, ArgumentsAreQuotedAsThePathIs) {
    EXPECT_EQ(desktopExecValue("/usr/bin/tavo", {"--hidden", "a $b"}), R"("/usr/bin/tavo" "--hidden" "a \\$b")");
}

TEST(DesktopExec, ReservedCharactersAreEscapedTwiceOver) {
    EXPECT_EQ(desktopExecValue(R"(/"q"/tavo)"), R"("/\\"q\\"/tavo")");
    EXPECT_EQ(desktopExecValue("/`b`/tavo"), R"("/\\`b\\`/tavo")");
    EXPECT_EQ(desktopExecValue("/$HOME/tavo"), R"("/\\$HOME/tavo")");
    EXPECT_EQ(desktopExecValue(R"(/a\b/tavo)"), R"("/a\\\\b/tavo")");
}

TEST(DesktopExec, WhatMayNotBeInTheFirstWordIsInAnother) {
    EXPECT_EQ(desktopExecValue("/100%/%f/tavo"), R"x(/bin/sh -c "exec \\"\\$0\\" \\"\\$@\\"" "/100%%/%%f/tavo")x");
    EXPECT_EQ(desktopExecValue("/x=y/tavo", {"--hidden"}),
              R"x(/bin/sh -c "exec \\"\\$0\\" \\"\\$@\\"" "/x=y/tavo" "--hidden")x");
}

TEST(DesktopExec, CannotCarryControlCharactersOrNothing) {
    EXPECT_FALSE(desktopExecValue("/a\nb"));
    EXPECT_FALSE(desktopExecValue("/a\x7F"));
    EXPECT_FALSE(desktopExecValue(""));
}

TEST(DesktopEntry, ValuesAreThoseOfItsOwnGroup) {
    const auto* const text =
        "# Hidden=true\n[Other]\nHidden=true\n[Desktop Entry]\n Name = A b \nExec=x=y\n[Desktop Action z]\n"
        "Hidden=true\n";
    EXPECT_EQ(desktopEntryValue(text, "Name"), "A b");
    EXPECT_EQ(desktopEntryValue(text, "Exec"), "x=y");
    EXPECT_EQ(desktopEntryValue(text, "Hidden"), std::nullopt);
    EXPECT_EQ(desktopEntryValue("", "Hidden"), std::nullopt);
}

} // namespace
} // namespace tavo
