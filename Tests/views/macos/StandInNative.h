#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tavo {

/// Stands in for AppKit: records what the views of a Mac ask of it.
struct StandInNative {
    static StandInNative& shared();

    std::vector<std::string> asked;

    /// Whether the application has finished launching.
    bool hasLaunched = false;

    /// Runs once it has.
    std::function<void()> onLaunched;

    /// Runs on a click on the icon in the Dock.
    std::function<void()> onReopen;
};

} // namespace tavo
