#include "runtime/macos/TiedCaffeinateRunner.h"

#include "Support/ScriptedCommandRunner.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(TiedCaffeinateRunner, NamesTheProcessThatTheToolEndsWith) {
    const auto inner = std::make_shared<ScriptedCommandRunner>();
    TiedCaffeinateRunner runner(inner, 4711);
    const auto child = runner.start({.executableURL = "/usr/bin/caffeinate", .arguments = {"-i", "-s"}});
    EXPECT_EQ(ScriptedCommandRunner::line(inner->commands.at(0)), "/usr/bin/caffeinate -i -s -w 4711");
    EXPECT_TRUE(child->isRunning());
}

TEST(TiedCaffeinateRunner, LeavesOtherCommandsAsTheyAre) {
    const auto inner = std::make_shared<ScriptedCommandRunner>();
    TiedCaffeinateRunner runner(inner, 4711);
    runner.run({.executableURL = "/usr/bin/pmset", .arguments = {"-g"}});
    EXPECT_EQ(ScriptedCommandRunner::line(inner->commands.at(0)), "/usr/bin/pmset -g");
    EXPECT_FALSE(runner.supportsPrivilegedCommands());
}

} // namespace
} // namespace tavo
