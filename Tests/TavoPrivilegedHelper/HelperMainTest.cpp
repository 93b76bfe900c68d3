#include "TavoPrivilegedHelper/HelperMain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <vector>

namespace tavo {
namespace {

using testing::HasSubstr;

HelperOptions parse(const std::vector<const char*>& arguments) {
    return HelperOptions::parse(arguments);
}

TEST(HelperOptions, ServesRootAloneUnlessAUserIsNamed) {
    EXPECT_EQ(parse({}), HelperOptions{});
    EXPECT_EQ(parse({"--user", "1000"}), (HelperOptions{HelperOptions::Task::serve, 1000}));
    EXPECT_EQ(parse({"--user", "0"}), (HelperOptions{HelperOptions::Task::serve, 0}));
}

TEST(HelperOptions, HasOtherTasks) {
    EXPECT_EQ(parse({"--after-stop"}).task, HelperOptions::Task::afterStop);
    EXPECT_EQ(parse({"--version"}).task, HelperOptions::Task::printVersion);
    EXPECT_EQ(parse({"--help"}).task, HelperOptions::Task::printHelp);
}

TEST(HelperOptions, AnActivatedHelperServesTheSocketsOwner) {
    EXPECT_TRUE(parse({"--activated"}).isActivated);
    EXPECT_THROW(parse({"--activated", "--user", "1000"}), HelperUsageError);
}

TEST(HelperOptions, AGrantComesWithNothingElse) {
    EXPECT_EQ(parse({"--grant"}).task, HelperOptions::Task::grant);
    EXPECT_EQ(parse({"--revoke"}).task, HelperOptions::Task::revoke);
    for (const auto& arguments : std::vector<std::vector<const char*>>{{"--grant", "--user", "0"},
                                                                       {"--user", "0", "--grant"},
                                                                       {"--grant", "--revoke"},
                                                                       {"--revoke", "--help"},
                                                                       {"--grant", "--grant"}}) {
        EXPECT_THROW(parse(arguments), HelperUsageError) << arguments.front();
    }
}

TEST(HelperOptions, AUserIsDigits) {
    for (const auto* user :
         {"", "me", "-1", "+1", " 1", "1 ", "1x", "0x1", "4294967295", "4294967296", "@installingUser@"}) {
        EXPECT_THROW(parse({"--user", user}), HelperUsageError) << user;
    }
    EXPECT_THROW(parse({"--user"}), HelperUsageError);
}

TEST(HelperOptions, WhatIsUnknownIsNamed) {
    try {
        parse({"--sudo"});
        FAIL() << "nothing was thrown";
    } catch (const HelperUsageError& error) {
        EXPECT_THAT(error.description(), HasSubstr("--sudo"));
    }
}

/// The exit status of a helper whose two tasks leave a letter each.
int statusOf(const std::vector<const char*>& arguments, std::string& done) {
    return runHelper(
        arguments, [&](const HelperOptions&) { done += "s"; }, [&](const HelperOptions&) { done += "a"; });
}

TEST(HelperMain, DoesTheTaskThatTheArgumentsName) {
    std::string done;
    EXPECT_EQ(statusOf({"--user", "1000"}, done), 0);
    EXPECT_EQ(statusOf({"--after-stop"}, done), 0);
    EXPECT_EQ(done, "sa");
}

TEST(HelperMain, GrantsAndRevokesWhereThereArePackages) {
    std::string done;
    const auto ignore = [](const HelperOptions&) {};
    const HelperGrantTasks tasks{.grant = [&] { done += "g"; }, .revoke = [&] { done += "r"; }};
    const std::vector<const char*> grant{"--grant"};
    const std::vector<const char*> revoke{"--revoke"};
    EXPECT_EQ(runHelper(grant, ignore, ignore, tasks), 0);
    EXPECT_EQ(runHelper(revoke, ignore, ignore, tasks), 0);
    EXPECT_EQ(done, "gr");
    testing::internal::CaptureStderr();
    EXPECT_EQ(runHelper(grant, ignore, ignore), 64);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("nothing to grant or revoke"));
}

TEST(HelperMain, PrintsItsVersionAndItsHelp) {
    std::string done;
    testing::internal::CaptureStdout();
    EXPECT_EQ(statusOf({"--version"}, done), 0);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::MatchesRegex("TavoPrivilegedHelper [0-9.]+\n"));
    testing::internal::CaptureStdout();
    EXPECT_EQ(statusOf({"--help"}, done), 0);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("--after-stop"));
    EXPECT_EQ(done, "");
}

TEST(HelperMain, TheHelpSaysWhichOverridesAStopLeaves) {
    EXPECT_THAT(HelperOptions::help(),
                testing::ContainsRegex("  --after-stop .*all of them\n +after a stop on purpose, "
                                       "and after a crash or for a restart\n +only those of "
                                       "processes that have ended\n"));
}

TEST(HelperMain, TheHelpFitsATerminalAndEndsWithAnExample) {
    std::istringstream lines(HelperOptions::help());
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 80U) << line;
    }
    EXPECT_TRUE(HelperOptions::help().ends_with("\n\nExample: TavoPrivilegedHelper --version\n"));
    EXPECT_EQ(parse({"--version"}).task, HelperOptions::Task::printVersion);
}

TEST(HelperMain, AFailureIsLoggedAndIsTheStatus) {
    testing::internal::CaptureStderr();
    const std::vector<const char*> none;
    const auto ignore = [](const HelperOptions&) {};
    EXPECT_EQ(runHelper(
                  none, [](const HelperOptions&) { throw std::runtime_error("no socket."); }, ignore),
              1);
    std::string done;
    EXPECT_EQ(statusOf({"--bogus"}, done), 64);
    const auto lines = testing::internal::GetCapturedStderr();
    EXPECT_THAT(lines, HasSubstr("no socket.\n"));
    EXPECT_THAT(lines, HasSubstr("--bogus"));
    EXPECT_EQ(done, "");
}

} // namespace
} // namespace tavo
