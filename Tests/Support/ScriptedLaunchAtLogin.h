#pragma once

#include "login/LaunchAtLoginManaging.h"

#include <exception>
#include <functional>
#include <optional>

namespace tavo {

/// Records which program was to be started at login.
class ScriptedLaunchAtLogin final : public LaunchAtLoginManaging {
public:
    Remainder enable(const std::filesystem::path& executablePath, const std::vector<std::string>& given) override {
        throwFailure();
        onChange();
        program = executablePath;
        options = given;
        return remainder;
    }
    void disable() override {
        throwFailure();
        onChange();
        program.reset();
    }
    bool isEnabled() const override { return program.has_value(); }

    std::optional<std::filesystem::path> program;

    /// To start it with, as of the last enable().
    std::vector<std::string> options;

    /// Left to do by every enable().
    Remainder remainder;

    /// Thrown by every change while it is set.
    std::exception_ptr failure;

    /// Runs while a change is under way.
    std::function<void()> onChange = [] {};

private:
    void throwFailure() const {
        if (failure) {
            std::rethrow_exception(failure);
        }
    }
};

} // namespace tavo
