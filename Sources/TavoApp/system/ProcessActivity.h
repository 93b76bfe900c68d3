#pragma once

#include <memory>
#include <string>

namespace tavo {

/// Ends with the object.
struct ProcessActivity {
    virtual ~ProcessActivity() = default;
};

/// Where the system slows down a program that shows no window, as App Nap does on a Mac: exempts this one.
struct ProcessActivityStarting {
    virtual ~ProcessActivityStarting() = default;

    /// While the result lives, the timers of this process fire on time. It keeps neither the machine nor the screen
    /// awake.
    /// @param reason  shown where the system lists such programs.
    [[nodiscard]] virtual std::unique_ptr<ProcessActivity> begin(const std::string& reason) = 0;
};

} // namespace tavo
