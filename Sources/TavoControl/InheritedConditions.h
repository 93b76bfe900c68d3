#pragma once

#include <array>
#include <csignal>
#include <string>
#include <vector>

namespace tavo {

/// What this process was given by its parent and has changed for itself since. A command that the user runs through it gets
/// everything as it was.
struct InheritedConditions {
    /// As "NAME=value".
    std::vector<std::string> environment;
    sigset_t signalMask{};
    std::vector<int> ignoredSignals;

    /// Standard input, output and error.
    std::array<bool, 3> isStreamClosed{};

    /// The first thing that main() does.
    static InheritedConditions capture();

    bool isIgnored(int signal) const;
};

} // namespace tavo
