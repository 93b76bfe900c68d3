#pragma once

#include "system/ProcessStart.h"

#include <functional>
#include <memory>
#include <optional>

namespace tavo {

/// Ends a watch when it is destroyed.
struct ProcessWatch {
    virtual ~ProcessWatch() = default;
};

/// Tells when a process ends, however it ends.
struct ProcessWatching {
    virtual ~ProcessWatching() = default;

    /// The process that has this number now. Nothing when there is none.
    virtual std::optional<ProcessIdentity> identify(pid_t pid) const = 0;

    /// Calls `onExit` once, from the program's event loop and never before this returns, when the process has ended.
    /// Gives null when it has ended already. A watch may be destroyed from within `onExit`.
    /// @throws std::system_error when the system cannot watch it.
    virtual std::unique_ptr<ProcessWatch> watchExit(const ProcessIdentity& process, std::function<void()> onExit) = 0;
};

} // namespace tavo
