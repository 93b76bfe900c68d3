#pragma once

#include <array>
#include <csignal>
#include <string>
#include <vector>

namespace tavo {

/// The environment, signals and streams that this process inherited, before it changed any for itself. A command that the user runs through it gets
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
