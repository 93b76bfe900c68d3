#pragma once

#include <string>

namespace tavo {

/// The options of the command line.
struct InhibitOptions {
    enum class Action { hold, showHelp, showVersion, rejectUsage };

    Action action = Action::rejectUsage;
    /// Hold off suspend that somebody asks for, too.
    bool sleep = false;
    /// For rejectUsage: a lower-case sentence that says what is wrong.
    std::string problem;
};

/// Understands `-i [-s]`, also written together, `--help` and `--version`. The last two win over a lock.
InhibitOptions parseInhibitOptions(int argc, char** argv);

/// The text of `--help`, ending in a newline.
std::string helpText();

/// The text of `--version`, ending in a newline.
std::string versionText();

} // namespace tavo
