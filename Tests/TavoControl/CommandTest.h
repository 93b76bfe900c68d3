#pragma once

#include "Support/FixedPowerEnvironment.h"
#include "Support/ScriptedHeldAssertions.h"
#include "Support/ScriptedProcessTable.h"
#include "Support/TemporaryDirectory.h"
#include "app/Platform.h"
#include "base/Json.h"
#include "base/Text.h"
#include "config/TavoStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {

/// The collaborators of one of tavoctl's commands, as a test scripts them.
class CommandTest : public ::testing::Test {
protected:
    CommandTest() {
        platform.powerEnvironment = power;
        platform.processes = processes;
        platform.heldAssertions = held;
        platform.machineNoun = "computer";
    }

    /// The call's standard output.
    template <typename Call>
    static std::string printed(Call call) {
        ::testing::internal::CaptureStdout();
        try {
            call();
        } catch (...) {
            ::testing::internal::GetCapturedStdout();
            throw;
        }
        return ::testing::internal::GetCapturedStdout();
    }

    static std::vector<std::string> linesOf(const std::string& text) {
        const auto views = splitLines(text);
        return {views.begin(), views.end()};
    }

    TemporaryDirectory folder;
    std::shared_ptr<TavoStore> store = std::make_shared<TavoStore>(TavoPaths{folder.path()});
    std::shared_ptr<FixedPowerEnvironment> power = std::make_shared<FixedPowerEnvironment>();
    std::shared_ptr<ScriptedProcessTable> processes = std::make_shared<ScriptedProcessTable>();
    std::shared_ptr<ScriptedHeldAssertions> held = std::make_shared<ScriptedHeldAssertions>();
    Platform platform;
};

} // namespace tavo
