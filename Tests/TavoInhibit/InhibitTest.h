#pragma once

#include "Support/PrivateBus.h"
#include "TavoInhibit/ScriptedLogind.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>

namespace tavo {

/// A system bus with a scripted logind, a session bus, and the program under test between them.
class InhibitTest : public ::testing::Test {
protected:
    using Lines = std::vector<std::string>;

    InhibitTest() {
        systemBus.start();
        // The build may lie where only root gets to.
        std::filesystem::copy_file(TAVO_INHIBIT_PROGRAM, inhibitProgram);
    }

    ScriptedLogind& startLogind() { return logind.emplace(pump, systemBus.address()); }

    std::vector<std::string> environment() const {
        return {"PATH=/usr/bin:/bin", "DBUS_SYSTEM_BUS_ADDRESS=" + systemBus.address(),
                "DBUS_SESSION_BUS_ADDRESS=" + sessionBusAddress.value_or(sessionBus.address())};
    }

    /// Starts a program as an ordinary user: root has no session bus.
    SpawnedProgram& spawn(const std::string& path, SpawnedProgram::Options options) {
        options.asOrdinaryUser = true;
        return program.emplace(path, options);
    }

    SpawnedProgram& startInhibit(std::vector<std::string> arguments = {"-i"},
                                 SpawnedProgram::Input input = SpawnedProgram::Input::pipe, bool smallOutput = false) {
        return spawn(inhibitProgram, {std::move(arguments), environment(), input, smallOutput});
    }

    /// Starts logind and the program, and waits for the first line.
    void startHolding() {
        startLogind();
        startInhibit();
        ASSERT_TRUE(waitForLine("logind held idle"));
    }

    /// Whether the program writes this line, once or again: `times` lines like it in all.
    bool waitForLine(const std::string& line, std::ptrdiff_t times = 1) {
        return pump.until([&] {
            const auto lines = program->lines();
            return std::count(lines.begin(), lines.end(), line) >= times;
        });
    }

    /// The exit status once the program ended; nothing when it does not.
    std::optional<int> waitForExit() {
        pump.until([this] { return program->exitStatus().has_value(); });
        return program->exitStatus();
    }

    /// A session manager on the session bus that accepts what it is asked for.
    std::unique_ptr<ScriptedBusService> makeGnome() {
        auto gnome = std::make_unique<ScriptedBusService>(pump, sessionBus.address());
        gnome->answer("Inhibit", ScriptedBusService::withCookie(1));
        gnome->own("org.gnome.SessionManager");
        return gnome;
    }

    /// Ends the input and expects the program to release its lock.
    void expectReleaseAtEndOfInput() {
        program->closeInput();
        EXPECT_EQ(waitForExit(), 0);
        EXPECT_EQ(program->errorsSoFar(), "");
        EXPECT_EQ(logind->heldLocks(), 0U);
    }

    PrivateBus systemBus;
    PrivateBus sessionBus;
    std::optional<std::string> sessionBusAddress;
    std::filesystem::path inhibitProgram = sessionBus.folder() / "tavo-inhibit";
    BusPump pump;
    std::optional<ScriptedLogind> logind;
    std::optional<SpawnedProgram> program;
};

} // namespace tavo
