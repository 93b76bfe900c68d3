#pragma once

#include "helper/ProcessWatching.h"

namespace tavo {

/// Watches processes by dispatch sources, dispatch_source_create(3), on the main queue.
class DispatchProcessWatching final : public ProcessWatching {
public:
    /// By sysctl(3), KERN_PROC_PID.
    std::optional<ProcessIdentity> identify(pid_t pid) const override;
    std::unique_ptr<ProcessWatch> watchExit(const ProcessIdentity& process, std::function<void()> onExit) override;
};

} // namespace tavo
