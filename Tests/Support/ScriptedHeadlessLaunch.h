#pragma once

#include "login/HeadlessLaunchManaging.h"

#include <exception>
#include <optional>
#include <string>

namespace tavo {

/// Records which program was to be started without a desktop.
class ScriptedHeadlessLaunch final : public HeadlessLaunchManaging {
public:
    std::string jobName() const override { return "tavo.service"; }
    std::string log() const override { return "the log"; }

    Start enable(const std::filesystem::path& tavoctl) override {
        if (failure) {
            std::rethrow_exception(failure);
        }
        program = tavoctl;
        return start;
    }
    bool disable() override {
        const bool wasEnabled = isEnabled();
        program.reset();
        return wasEnabled;
    }
    bool isEnabled() const override { return program.has_value(); }
    std::optional<TavoPaths> pathsOfRun() const override { return otherPaths; }
    std::optional<std::string> logoutAdvice() const override { return advice; }

    std::optional<std::filesystem::path> program;
    Start start;
    std::optional<TavoPaths> otherPaths;
    std::optional<std::string> advice;

    /// Thrown by enable() while it is set.
    std::exception_ptr failure;
};

} // namespace tavo
