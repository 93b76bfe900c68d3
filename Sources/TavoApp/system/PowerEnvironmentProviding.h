#pragma once

#include "base/PowerStatus.h"

#include <functional>
#include <memory>

namespace tavo {

/// Reads the machine's power.
struct PowerEnvironmentProviding {
    virtual ~PowerEnvironmentProviding() = default;

    /// Asks the system anew at every call; nothing is cached. Never fails: what cannot be read is unknown or absent.
    virtual PowerStatus currentStatus() const = 0;
};

/// A standing request to be told; destroying it withdraws it, and when that returns, no call is under way any more.
struct PowerChangeWatch {
    virtual ~PowerChangeWatch() = default;
};

/// Tells when something about the power supply may have changed: what, is to be read afresh.
struct PowerChangeNotifying {
    virtual ~PowerChangeNotifying() = default;

    /// Calls `observer`, on any thread, from now on. The observer must not throw, and must not destroy the watch.
    /// @throws std::system_error when the system refuses to tell.
    [[nodiscard]] virtual std::unique_ptr<PowerChangeWatch> watch(std::function<void()> observer) = 0;
};

} // namespace tavo
