#pragma once

#include "base/DescribedError.h"
#include "config/TavoPaths.h"

#include <filesystem>
#include <optional>
#include <string>

namespace tavo {

/// The run without a desktop could not be switched.
class HeadlessLaunchError final : public DescribedError {
public:
    using DescribedError::DescribedError;
};

/// Has the user's service manager start `tavoctl run --service` at each login, and keep it running.
struct HeadlessLaunchManaging {
    virtual ~HeadlessLaunchManaging() = default;

    /// The start that came with switching it on.
    struct Start {
        /// The exit status when it ended at once; absent when it runs, or when the manager does not say.
        std::optional<int> failedWith;
    };

    /// The name under which the manager knows the job.
    virtual std::string jobName() const = 0;

    /// Where the job's errors can be read: a command or a file.
    virtual std::string log() const = 0;

    /// Switches it on and starts it, anew when it runs already. May take as long as that start.
    /// @param tavoctl  the program to be started.
    /// @throws HeadlessLaunchError, std::system_error and the errors of running commands.
    [[nodiscard]] virtual Start enable(const std::filesystem::path& tavoctl) = 0;

    /// Stops it and switches it off. Gives false when there was nothing to do. @throws what enable() throws.
    virtual bool disable() = 0;

    /// Whether the next login starts it.
    virtual bool isEnabled() const = 0;

    /// Where the run that it starts keeps its files; absent when that is where this process keeps them, as far as known.
    virtual std::optional<TavoPaths> pathsOfRun() const = 0;

    /// Tells the user how to keep it over a logout, as a sentence; nothing when it is kept, or when nothing keeps it.
    virtual std::optional<std::string> logoutAdvice() const = 0;
};

} // namespace tavo
