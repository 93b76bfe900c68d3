#include "system/linux/ProcessDescriptor.h"

#include "system/linux/ProcfsText.h"

#include <poll.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

namespace tavo {

FileDescriptor openProcess(pid_t pid) {
    // Not every C library that is still in use has wrappers for these calls. The kernel closes the descriptor on exec.
    const auto descriptor = syscall(SYS_pidfd_open, pid, 0);
    if (descriptor < 0 && errno != ESRCH && errno != EINVAL) {
        throw std::system_error(errno, std::generic_category(), "could not watch process " + std::to_string(pid));
    }
    return FileDescriptor(static_cast<int>(descriptor));
}

void signalProcess(const FileDescriptor& process, int signal) {
    if (syscall(SYS_pidfd_send_signal, process.get(), signal, nullptr, 0) != 0) {
        throw std::system_error(errno, std::generic_category(), "could not signal a process");
    }
}

bool hasEnded(const FileDescriptor& process) {
    pollfd state{.fd = process.get(), .events = POLLIN, .revents = 0};
    return poll(&state, 1, 0) > 0;
}

std::optional<std::uint64_t> startTicksOf(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    return procfsStartTicks(text);
}

} // namespace tavo
