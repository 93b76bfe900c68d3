#pragma once

#include "base/DescribedError.h"

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace tavo {

/// The task that the helper was started for.
struct HelperOptions {
    enum class Task {
        serve,        ///< until it is told to stop
        afterStop,    ///< clean up after a helper that has ended, and exit
        grant,        ///< grant the use of a packaged helper to the user who asks, and exit
        revoke,       ///< revoke that grant, and exit
        printVersion, ///< and exit
        printHelp,    ///< and exit
    };

    Task task = Task::serve;

    /// The user who is served beside root.
    std::optional<uid_t> user;

    /// The service manager has made the socket and starts the helper whenever somebody connects to it: its owner is
    /// served, and a helper that has nothing to do exits.
    bool isActivated = false;

    bool operator==(const HelperOptions&) const = default;

    /// @param arguments  without the program's name. @throws HelperUsageError
    static HelperOptions parse(std::span<const char* const> arguments);

    static std::string help();
};

/// The helper was called wrongly.
class HelperUsageError final : public DescribedError {
public:
    using DescribedError::DescribedError;
};

/// In seconds: the helper's removal of itself waits this long. Longer than the reply takes, and shorter than the
/// application waits for the files to go.
inline constexpr std::int64_t helperRemovalDelay = 1;

/// The system's own code for the granting of a packaged helper; empty where there are no packages.
struct HelperGrantTasks {
    std::function<void()> grant = {};
    std::function<void()> revoke = {};
};

/// The part of main() that every system shares: parses the arguments, prints whatever they ask for, and calls the
/// system's own code for the other tasks. Gives the exit status; every failure is logged.
int runHelper(std::span<const char* const> arguments, const std::function<void(const HelperOptions&)>& serve,
              const std::function<void(const HelperOptions&)>& afterStop, const HelperGrantTasks& grants = {});

} // namespace tavo
