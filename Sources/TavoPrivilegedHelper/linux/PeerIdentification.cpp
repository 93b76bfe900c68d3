#include "TavoPrivilegedHelper/linux/PeerIdentification.h"

#include "system/linux/ProcessDescriptor.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

// The headers of many systems are older than their kernels.
#ifndef SO_PEERPIDFD
#define SO_PEERPIDFD 77
#endif

namespace tavo {

std::optional<FileDescriptor> PeerKernel::peerDescriptor(int socket) const {
    int descriptor = -1;
    socklen_t size = sizeof(descriptor);
    if (getsockopt(socket, SOL_SOCKET, SO_PEERPIDFD, &descriptor, &size) == 0) {
        return FileDescriptor(descriptor);
    }
    return errno == ENOPROTOOPT ? std::nullopt : std::optional(FileDescriptor());
}

FileDescriptor PeerKernel::processDescriptor(pid_t pid) const {
    return openProcess(pid);
}

std::optional<std::uint64_t> PeerKernel::startTicks(pid_t pid) const {
    return startTicksOf(pid);
}

std::optional<uid_t> PeerKernel::owner(pid_t pid) const {
    // proc(5), "/proc/[pid]/status": real, effective, saved and file system user. The folder's own owner does not do:
    // it is root for a process that may not be dumped.
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    constexpr std::string_view key = "Uid:";
    for (std::string line; std::getline(status, line);) {
        // At the start of a line alone: a process may call itself whatever it likes.
        if (line.starts_with(key)) {
            std::istringstream users(line.substr(key.size()));
            uid_t real = 0;
            uid_t effective = 0;
            return users >> real >> effective ? std::optional(effective) : std::nullopt;
        }
    }
    return std::nullopt;
}

std::uint64_t PeerIdentification::now() {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    constexpr std::uint64_t nanosecondsOfSecond = 1000000000;
    const auto ticksOfSecond = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
    return static_cast<std::uint64_t>(time.tv_sec) * ticksOfSecond +
           static_cast<std::uint64_t>(time.tv_nsec) * ticksOfSecond / nanosecondsOfSecond;
}

std::optional<IdentifiedPeer> PeerIdentification::identify(int socket, std::uint64_t acceptedAt) const {
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.pid <= 0) {
        return std::nullopt;
    }
    auto ofConnection = kernel->peerDescriptor(socket);
    const bool isKernelsWord = ofConnection.has_value();
    auto process = isKernelsWord ? std::move(*ofConnection) : kernel->processDescriptor(peer.pid);
    if (!process) {
        return std::nullopt;
    }
    const auto startTicks = kernel->startTicks(peer.pid);
    if (!startTicks || (!isKernelsWord && !mayHaveConnected(peer.pid, peer.uid, *startTicks, acceptedAt, socket))) {
        return std::nullopt;
    }
    // Checked last: while the descriptor's process lives, everything read about the number was about this process.
    if (hasEnded(process)) {
        return std::nullopt;
    }
    return IdentifiedPeer{{peer.uid, {peer.pid, *startTicks}}, std::move(process)};
}

/// For kernels that do not say who is at the other end: a process that got the number later began later, or belongs to
/// somebody else; and as long as the other end is open, its process has not ended.
bool PeerIdentification::mayHaveConnected(pid_t pid, uid_t user, std::uint64_t startTicks, std::uint64_t acceptedAt,
                                          int socket) const {
    return kernel->owner(pid) == user && startTicks <= acceptedAt && !hasHungUp(socket);
}

bool hasHungUp(int socket) {
    pollfd state{.fd = socket, .events = 0, .revents = 0};
    return poll(&state, 1, 0) > 0 && (state.revents & POLLHUP) != 0;
}

} // namespace tavo
