#include "system/PMSetAssertionList.h"

#include "Support/ScriptedCommandRunner.h"
#include "base/DescribedError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const sample = R"(2026-01-31 09:05:00 +0100
Assertion status system-wide:
   BackgroundTask                 0
   PreventUserIdleSystemSleep     1
   PreventSystemSleep             1
Listed by owning process:
   pid 512(powerd): [0x0000000100088001] 00:10:00 PreventUserIdleDisplaySleep named: "Powerd - display is on"
   pid 4242(caffeinate): [0x0000a1b2000183c5] 00:01:02 PreventUserIdleSystemSleep named: "caffeinate command-line tool"
	Details: caffeinate asserting forever
	Localized=THE CAFFEINATE TOOL IS PREVENTING SLEEP.
   pid 4242(caffeinate): [0x0000a1b2000783c6] 00:01:02 PreventSystemSleep named: "caffeinate command-line tool"
   pid 77(Some (odd) Name): [0x0000a1b2000183c7] 11:22:33 NoIdleSleepAssertion named: "x named: y"
No kernel assertions.)";

TEST(PMSetAssertionList, WhatKeepsTheMachineFromSleepingIsListed) {
    EXPECT_THAT(PMSetAssertionList::parse(sample),
                ElementsAre(HeldAssertion{.who = "caffeinate", .what = "PreventUserIdleSystemSleep", .pid = 4242},
                            HeldAssertion{.who = "caffeinate", .what = "PreventSystemSleep", .pid = 4242},
                            HeldAssertion{.who = "Some (odd) Name", .what = "NoIdleSleepAssertion", .pid = 77}));
}

TEST(PMSetAssertionList, AnythingElseIsPassedOver) {
    for (const auto* line :
         {"", "pid", "pid : named: ", "pid x(a): PreventSystemSleep named: ", "pid 1(a: PreventSystemSleep named: ",
          "pid 1 a): PreventSystemSleep named: ", "pid 99999999999(a): [0x] PreventSystemSleep named: ",
          "pid 1(a): PreventSystemSleep", "pid 1 named: (a): PreventSystemSleep", "pid 1(a): [0x] Unknown named: b"}) {
        EXPECT_THAT(PMSetAssertionList::parse(line), IsEmpty()) << line;
    }
}

TEST(PMSetAssertionList, ItAsksPmset) {
    const auto runner = std::make_shared<ScriptedCommandRunner>();
    runner->results = {{.exitCode = 0, .standardOutput = sample}, {.exitCode = 1, .standardError = "no."}};
    PMSetAssertionList list(runner);
    EXPECT_EQ(list.heldAssertions().size(), 3U);
    EXPECT_THAT(*runner->log, ElementsAre("run /usr/bin/pmset -g assertions"));
    EXPECT_THROW(list.heldAssertions(), DescribedError);
}

} // namespace
} // namespace tavo
