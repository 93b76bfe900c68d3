#pragma once

#include "TavoPrivilegedHelper/HelperService.h"
#include "base/FileDescriptor.h"

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>

namespace tavo {

/// The kernel's word about the process at the other end of a connection. Its answers come in pieces, between which a
/// process may end and its number go to another one.
struct PeerKernel {
    virtual ~PeerKernel() = default;

    /// A descriptor for the process that made the connection: SO_PEERPIDFD, unix(7), Linux 6.5. Holds nothing when that
    /// process has gone; nothing at all where the kernel does not know the question.
    virtual std::optional<FileDescriptor> peerDescriptor(int socket) const;

    /// A descriptor for the process that has this number now. Holds nothing when there is none.
    virtual FileDescriptor processDescriptor(pid_t pid) const;

    /// In clock ticks since the machine's start.
    virtual std::optional<std::uint64_t> startTicks(pid_t pid) const;

    /// The effective user of the process that has this number now.
    virtual std::optional<uid_t> owner(pid_t pid) const;
};

/// A caller, and a descriptor that stands for its process and for no later one with its number.
struct IdentifiedPeer {
    HelperCaller caller;
    FileDescriptor process;
};

/// Names the process at the other end of a connection, such that a number that was given to another process meanwhile
/// never passes for it.
class PeerIdentification {
public:
    explicit PeerIdentification(std::shared_ptr<const PeerKernel> kernel = std::make_shared<PeerKernel>())
        : kernel(std::move(kernel)) {}

    /// In clock ticks since the machine's start, to be taken when a connection is accepted.
    static std::uint64_t now();

    /// @param acceptedAt  see now(). Gives nothing when the process has ended, or when it cannot be told from a later
    /// one with its number. So too for a process that the kernel cannot name here, as one in another namespace.
    /// @throws std::system_error when the system cannot give a descriptor, as without memory.
    std::optional<IdentifiedPeer> identify(int socket, std::uint64_t acceptedAt) const;

private:
    bool mayHaveConnected(pid_t pid, uid_t user, std::uint64_t startTicks, std::uint64_t acceptedAt, int socket) const;

    std::shared_ptr<const PeerKernel> kernel;
};

/// Whether the other end of a connection is closed altogether, as by a process that has ended or stopped waiting.
bool hasHungUp(int socket);

} // namespace tavo
