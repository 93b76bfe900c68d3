#include "TavoPrivilegedHelper/macos/DispatchProcessWatching.h"

#include "TavoPrivilegedHelper/macos/DispatchSource.h"
#include "system/ProcessStart.h"

#include <utility>

namespace tavo {

namespace {

class DispatchWatch final : public ProcessWatch {
public:
    DispatchWatch(pid_t pid, std::function<void()> onExit)
        : source(DISPATCH_SOURCE_TYPE_PROC, static_cast<uintptr_t>(pid), DISPATCH_PROC_EXIT, std::move(onExit)) {}

private:
    DispatchSource source;
};

} // namespace

std::optional<ProcessIdentity> DispatchProcessWatching::identify(pid_t pid) const {
    const auto start = processStart(pid);
    return start ? std::optional(ProcessIdentity{pid, *start}) : std::nullopt;
}

std::unique_ptr<ProcessWatch> DispatchProcessWatching::watchExit(const ProcessIdentity& process,
                                                                 std::function<void()> onExit) {
    auto watch = std::make_unique<DispatchWatch>(process.pid, std::move(onExit));
    // Checked once the watch is there: it never reports an exit from before.
    return identify(process.pid) == process ? std::move(watch) : nullptr;
}

} // namespace tavo
