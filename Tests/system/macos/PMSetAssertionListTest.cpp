#include "system/macos/PMSetAssertionList.h"

#include "Support/ScriptedCommandRunner.h"
#include "base/DescribedError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto sample = R"(2026-01-31 10:05:42 +0100
Assertion status system-wide:
   BackgroundTask                 0
   PreventUserIdleSystemSleep     1
   PreventSystemSleep             1
   UserIsActive                   1
Listed by owning process:
   pid 93(hidd): [0x000b2e1f00098a8f] 00:00:00 UserIsActive named: "input"
	Timeout will fire in 600 secs Action=TimeoutActionRelease
   pid 4242(caffeinate): [0x000b2e1f00018a90] 00:01:02 PreventUserIdleSystemSleep named: "caffeinate command-line tool"
	Details: caffeinate asserting for process 4241 named: PreventSystemSleep
	Localized=THE CAFFEINATE TOOL IS PREVENTING SLEEP.
   pid 4242(caffeinate): [0x000b2e1f00078a91] 00:01:02 PreventSystemSleep named: "caffeinate command-line tool"
   pid 501(Video Player (Renderer)): [0x000b2e1f00018a92] 123:00:07 NoIdleSleepAssertion named: "a film: 2"
   pid 502(display): [0x000b2e1f00058a93] 00:00:07 PreventUserIdleDisplaySleep named: "screen"
   pid 503(odd named: name): [0x000b2e1f00018a94] 00:00:07 PreventUserIdleSystemSleep named: "pid 7(x): [0x1] y named: z"
Kernel Assertions: 0x4=USB
   id=500  level=255 0x4=USB mod=01.01.1970, 01:00 description=device owner=hub
Idle sleep preventers: IODisplayWrangler)";

TEST(PMSetAssertionList, TakesWhatPreventsSleepOutOfTheDocumentedForm) {
    EXPECT_THAT(PMSetAssertionList::parse(sample),
                ElementsAre(HeldAssertion{.who = "caffeinate", .what = "PreventUserIdleSystemSleep", .pid = 4242},
                            HeldAssertion{.who = "caffeinate", .what = "PreventSystemSleep", .pid = 4242},
                            HeldAssertion{.who = "Video Player (Renderer)", .what = "NoIdleSleepAssertion", .pid = 501},
                            HeldAssertion{.who = "odd named: name", .what = "PreventUserIdleSystemSleep", .pid = 503}));
}

TEST(PMSetAssertionList, AnythingElseIsLeftOut) {
    const std::vector<std::string> badLines{
        "",
        "pid",
        "pid ",
        "pid 5",
        "pid 5(x",
        "pid 5(x)",
        "pid 5(x):",
        "pid 5(x): [0x1]",
        "pid 5(x): [0x1] 00:00:01 PreventSystemSleep",
        "pid 5(x): [0x1] 00:00:01 PreventSystemSleep named:",
        "pid 5(x) [0x1] 00:00:01 PreventSystemSleep named: \"y\"",
        "pid 5 x: [0x1] 00:00:01 PreventSystemSleep named: \"y\"",
        "pid (x): [0x1] 00:00:01 PreventSystemSleep named: \"y\"",
        "pid x(x): [0x1] 00:00:01 PreventSystemSleep named: \"y\"",
        "pid 5x(x): [0x1] 00:00:01 PreventSystemSleep named: \"y\"",
        "pid  5(x): [0x1] 00:00:01 PreventSystemSleep named: \"y\"",
        "pid 0(x): [0x1] 00:00:01 PreventSystemSleep named: \"y\"",
        "pid -5(x): [0x1] 00:00:01 PreventSystemSleep named: \"y\"",
        "pid 99999999999(x): [0x1] 00:00:01 PreventSystemSleep named: \"y\"",
        "PID 5(x): [0x1] 00:00:01 PreventSystemSleep named: \"y\"",
        "ppid 5(x): [0x1] 00:00:01 PreventSystemSleep named: \"y\"",
        "pid 5(x): [0x1] 00:00:01 preventsystemsleep named: \"y\"",
        "pid 5(x): [0x1] 00:00:01  named: \"y\"",
        "pid 5(x): [0x1] named: PreventSystemSleep",
        "named: pid 5(x): [",
        "pid 5(\xFF\xFE): \xFF named: \xFF",
        "\xFF\xFE\xFD",
        std::string("pid 5(x): [0x1]\0 PreventSystemSleep", 35),
    };
    for (const auto& line : badLines) {
        SCOPED_TRACE(line);
        EXPECT_THAT(PMSetAssertionList::parse(line), IsEmpty());
        EXPECT_THAT(PMSetAssertionList::parse(line + "\n   pid 6(y): [0x1] 00:00:01 PreventSystemSleep named: \"z\""),
                    ElementsAre(HeldAssertion{.who = "y", .what = "PreventSystemSleep", .pid = 6}))
            << "the next line still counts";
    }
}

TEST(PMSetAssertionList, CallsTheToolByItsPath) {
    const auto runner = std::make_shared<ScriptedCommandRunner>();
    runner->results.push_back({.standardOutput = sample});
    EXPECT_EQ(PMSetAssertionList(runner).heldAssertions().size(), 4U);
    EXPECT_THAT(*runner->log, ElementsAre("run /usr/bin/pmset -g assertions"));
}

TEST(PMSetAssertionList, AToolThatFailsIsAFailureInItsOwnWordsOrOurs) {
    const auto runner = std::make_shared<ScriptedCommandRunner>();
    const auto sentence = [&] {
        try {
            PMSetAssertionList(runner).heldAssertions();
        } catch (const DescribedError& error) {
            return error.description();
        }
        return std::string("no failure");
    };
    runner->results.push_back({.exitCode = 1, .standardOutput = sample, .standardError = "not permitted"});
    EXPECT_EQ(sentence(), "not permitted");
    runner->results.push_back({.exitCode = 9});
    EXPECT_EQ(sentence(), "pmset could not list what holds off sleep.");
}

} // namespace
} // namespace tavo
