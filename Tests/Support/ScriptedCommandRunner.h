#pragma once

#include "Support/EventLog.h"
#include "system/CommandRunning.h"

#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tavo {

/// The handle of a child that was never launched: runs until it is stopped or the test ends it.
class ScriptedRunningCommand final : public RunningCommand {
public:
    explicit ScriptedRunningCommand(std::shared_ptr<EventLog> log) : log(std::move(log)) {}

    bool isRunning() const override { return running; }
    void stop() noexcept override {
        log->push_back("stop");
        running = false;
    }
    void onEnd(std::function<void()> work) override { callback = std::move(work); }
    void dieFromOutside() {
        running = false;
        if (callback) {
            callback();
        }
    }

private:
    std::shared_ptr<EventLog> log;
    std::function<void()> callback;
    bool running = true;
};

/// Records the command lines that it is asked to run, and answers as the test has prepared.
class ScriptedCommandRunner final : public CommandRunning {
public:
    explicit ScriptedCommandRunner(std::shared_ptr<EventLog> log = std::make_shared<EventLog>())
        : log(std::move(log)) {}

    bool supportsPrivilegedCommands() const override { return false; }

    ShellCommandResult run(const ShellCommand& command) override {
        log->push_back("run " + line(command));
        commands.push_back(command);
        if (failure) {
            std::rethrow_exception(failure);
        }
        if (onRun) {
            onRun();
        }
        if (results.empty()) {
            return {};
        }
        auto result = results.front();
        results.pop_front();
        return result;
    }

    std::shared_ptr<RunningCommand> start(const ShellCommand& command) override {
        log->push_back("start " + line(command));
        commands.push_back(command);
        if (failure) {
            std::rethrow_exception(failure);
        }
        if (onStart) {
            onStart();
        }
        children.push_back(std::make_shared<ScriptedRunningCommand>(log));
        return children.back();
    }

    static std::string line(const ShellCommand& command) {
        auto text = command.executableURL.string();
        for (const auto& argument : command.arguments) {
            text += " " + argument;
        }
        return text;
    }

    std::shared_ptr<EventLog> log;
    std::vector<ShellCommand> commands;
    std::deque<ShellCommandResult> results;
    std::vector<std::shared_ptr<ScriptedRunningCommand>> children;

    /// Thrown by every call while it is set.
    std::exception_ptr failure;

    /// Called while a child is being started.
    std::function<void()> onStart;

    /// Called by every command that is run.
    std::function<void()> onRun;
};

} // namespace tavo
