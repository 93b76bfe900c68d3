#pragma once

#include "app/WindowRequest.h"
#include "runtime/WorkRequirement.h"

#include <functional>
#include <optional>
#include <string>
#include <variant>

namespace CLI {
class App;
} // namespace CLI

namespace tavo {

/// The desktop app's options.
struct LaunchOptions {
    /// Replaces the default folder of config.json and state.json; empty for that one.
    std::string root = {};
    bool isHidden = false;
    RequestedAction action = RequestedAction::showWindow;

    /// To stay awake only while the matched programs work.
    std::optional<WorkRequirement> whileWorking = {};
};

/// Arguments that start nothing: a text to print, and whether it is an error.
struct LaunchReply {
    /// For standard output when the user asked for it, else a sentence for standard error.
    std::string text;
    bool isError = false;
};

/// Parses the arguments of tavo. @param version  that of the program.
std::variant<LaunchOptions, LaunchReply> parseLaunchCommandLine(int count, const char* const* values,
                                                                const std::string& version);

/// Shows the definition of these arguments.
void inspectLaunchCommandLine(const std::function<void(const CLI::App&)>& visit);

} // namespace tavo
