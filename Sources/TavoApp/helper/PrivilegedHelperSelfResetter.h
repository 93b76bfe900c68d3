#pragma once

#include "helper/HelperServiceSetup.h"
#include "system/CommandRunning.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace tavo {

/// Removes the helper from inside the helper. It cannot end its own service while it still owes an answer, so the
/// removal is left to a process that sleeps first.
class PrivilegedHelperSelfResetter {
public:
    /// @param uninstallDelaySeconds  longer than the answer takes.
    PrivilegedHelperSelfResetter(std::shared_ptr<CommandRunning> runner,
                                 std::shared_ptr<const HelperServiceSetup> setup, std::int64_t uninstallDelaySeconds)
        : runner(std::move(runner)), setup(std::move(setup)), uninstallDelaySeconds(uninstallDelaySeconds) {}

    /// Returns as soon as the removal is under way; how it goes on is not reported.
    /// @throws PrivilegedHelperInstallerError, and the runner's error, when it could not be started.
    void requestReset() const;

private:
    std::shared_ptr<CommandRunning> runner;
    std::shared_ptr<const HelperServiceSetup> setup;
    std::int64_t uninstallDelaySeconds;
};

/// Starts the helper's removal, once for all requests that come while it is under way.
class SingleRemoval {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// When the helper is still there after this long, the next request starts another removal.
    static constexpr std::chrono::seconds maxRemoval{90};

    /// @param start  begins a removal and returns, or throws when that is not possible.
    explicit SingleRemoval(
        std::function<void()> start, Clock clock = [] { return std::chrono::steady_clock::now(); })
        : start(std::move(start)), clock(std::move(clock)) {}

    /// @throws the error of a start that fails; the next request tries again then.
    void request() {
        if (!startedAt || clock() - *startedAt >= maxRemoval) {
            start();
            startedAt = clock();
        }
    }

private:
    std::function<void()> start;
    Clock clock;
    std::optional<std::chrono::steady_clock::time_point> startedAt;
};

} // namespace tavo
