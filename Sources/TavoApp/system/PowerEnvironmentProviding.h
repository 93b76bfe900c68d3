#pragma once

#include "base/PowerStatus.h"

#include <functional>
#include <memory>

namespace tavo {

/// Reads the machine's power.
struct PowerEnvironmentProviding {
    virtual ~PowerEnvironmentProviding() = default;

    /// Asks the system at every call; nothing is cached. Never fails: what cannot be read is unknown or absent.
    virtual PowerStatus currentStatus() const = 0;
};

/// A subscription. Its destructor ends it, and waits for a call that is under way.
struct PowerChangeWatch {
    virtual ~PowerChangeWatch() = default;
};

/// Notifies when the power supply may have changed; the new status has to be read.
struct PowerChangeNotifying {
    virtual ~PowerChangeNotifying() = default;

    /// Calls `observer`, on any thread, from now on. The observer must not throw, and must not destroy the watch.
    /// @throws std::system_error when the system does not notify.
    [[nodiscard]] virtual std::unique_ptr<PowerChangeWatch> watch(std::function<void()> observer) = 0;
};

} // namespace tavo
