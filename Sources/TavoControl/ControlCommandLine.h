#pragma once

#include "TavoControl/RunBound.h"
#include "TavoControl/RunOverrides.h"
#include "app/CommandLineHelp.h"
#include "config/TavoPaths.h"
#include "runtime/WorkRequirement.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tavo {

struct RunOptions {
    RunOverrides overrides;

    /// To stay awake only while the matched programs work.
    std::optional<WorkRequirement> whileWorking;

    /// When to end by itself.
    RunBound bound;
    bool json = false;
};

struct ExecOptions {
    /// Always on, within the policy that the configuration or the options name.
    RunOverrides overrides;

    /// Without processes: the command itself is the process to wait for.
    RunBound bound;

    /// The command and its arguments.
    std::vector<std::string> words;
};

struct StatusOptions {
    bool json = false;
};

struct ProcessesOptions {
    /// The rule to match instead of the configured one.
    std::optional<TriggerRule> rule;

    /// Present to measure, over a few seconds, which of them work.
    std::optional<WorkRequirement> cpu = {};
    bool json = false;
};

struct DoctorOptions {
    bool json = false;
};

struct HistoryOptions {
    /// How far back it goes.
    std::chrono::seconds since = std::chrono::hours{24};
    bool json = false;
};

struct ExplainOptions {
    bool json = false;
};

struct WatchOptions {
    bool json = false;
};

struct HelperCommandOptions {
    enum class Action { status, install, uninstall, reset };

    Action action = Action::status;
    bool json = false;
};

struct GetOptions {
    /// All of them when absent.
    std::optional<std::string> key;
    bool json = false;
};

/// One change of the configuration.
struct ChangeOptions {
    enum class Kind { enable, disable, toggle, trigger, set };

    Kind kind = Kind::enable;
    TriggerRule trigger = {};

    /// The setting to change.
    std::string key = {};
    std::string value = {};

    /// Launch at login was named explicitly: it is set up again even where the file already says so.
    bool login = false;

    /// For the command login: the options to start the app with, which replace the saved ones; empty for no options.
    std::optional<std::optional<WorkRequirement>> loginOptions = {};
};

/// A parsed command line.
struct Invocation {
    /// Replaces the default folder of config.json and state.json.
    std::optional<std::filesystem::path> root;
    std::variant<RunOptions, ExecOptions, StatusOptions, ProcessesOptions, DoctorOptions, HistoryOptions,
                 ExplainOptions, WatchOptions, HelperCommandOptions, GetOptions, ChangeOptions>
        command;
};

/// Arguments that run no command: a text to print, and whether it is an error.
struct UsageReply {
    /// For standard output when the user asked for it, else for standard error.
    std::string text;
    bool isError = false;
};

/// Parses tavoctl's arguments. @param width  of a help, in characters.
std::variant<Invocation, UsageReply> parseCommandLine(int count, const char* const* values,
                                                      std::size_t width = helpWidth);

/// Shows the definition of the commands with their options.
void inspectCommandLine(const std::function<void(const CLI::App&)>& visit);

} // namespace tavo
