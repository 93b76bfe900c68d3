#pragma once

#include "RunOverrides.h"
#include "config/TavoPaths.h"

#include <optional>
#include <string>
#include <variant>

namespace tavo {

struct RunOptions {
    RunOverrides overrides;
    bool json = false;
};

struct StatusOptions {
    bool json = false;
};

struct ProcessesOptions {
    /// The rule to look for in place of the configured one.
    std::optional<TriggerRule> rule;
    bool json = false;
};

struct DoctorOptions {
    bool json = false;
};

struct HelperCommandOptions {
    enum class Action { status, install, uninstall, reset };

    Action action = Action::status;
    bool json = false;
};

/// What the arguments ask for.
struct Invocation {
    /// In place of the default folder of config.json and state.json.
    std::optional<std::filesystem::path> root;
    std::variant<RunOptions, StatusOptions, ProcessesOptions, DoctorOptions, HelperCommandOptions> command;
};

/// Arguments that ask for nothing to be done: text to print, and the status to end with.
struct UsageReply {
    /// For standard output when the user asked for it, else for standard error.
    std::string text;
    bool isError = false;
};

/// Understands tavoctl's arguments.
std::variant<Invocation, UsageReply> parseCommandLine(int count, const char* const* values);

} // namespace tavo
