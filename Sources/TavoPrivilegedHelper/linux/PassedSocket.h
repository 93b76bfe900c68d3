#pragma once

#include "base/FileDescriptor.h"

#include <sys/types.h>

namespace tavo {

/// The socket on which the service manager has listened for the helper, sd_listen_fds(3).
struct PassedSocket {
    FileDescriptor descriptor;

    /// The user whose socket it is in the file system: the one who may connect, besides root.
    uid_t owner = 0;

    /// Takes the one that this process was started with. @throws HelperUsageError when there is none, or several;
    /// otherwise as of() does.
    static PassedSocket take();

    /// @throws HelperUsageError when it is no listening Unix socket with a path; std::system_error when that path cannot
    /// be examined.
    static PassedSocket of(FileDescriptor descriptor);
};

} // namespace tavo
