#include "system/ProcessStart.h"

#include "system/linux/ProcessDescriptor.h"

namespace tavo {

std::optional<std::uint64_t> processStart(pid_t pid) {
    return startTicksOf(pid);
}

} // namespace tavo
