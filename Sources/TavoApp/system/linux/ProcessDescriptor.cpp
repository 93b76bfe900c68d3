#include "system/linux/ProcessDescriptor.h"

#include "system/linux/ProcfsText.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <system_error>

namespace tavo {

namespace {

/// In bytes: 52 fields, most of them numbers, and a name of 64 characters at most.
constexpr std::size_t maxStatSize = 4096;

} // namespace

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
    const auto path = "/proc/" + std::to_string(pid) + "/stat";
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    // One that the system hides, and one that has ended, are not there; anything else is no answer.
    if (!file && errno != ENOENT && errno != ESRCH && errno != EACCES) {
        throw std::system_error(errno, std::generic_category(), "could not look at process " + std::to_string(pid));
    }
    std::array<char, maxStatSize> text{};
    const auto length = file ? read(file.get(), text.data(), text.size()) : 0;
    return procfsStartTicks({text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))});
}

} // namespace tavo
