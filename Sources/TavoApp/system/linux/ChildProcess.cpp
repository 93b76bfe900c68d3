#include "system/ChildProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <system_error>

namespace tavo {

bool makeClosingPipe(std::array<int, 2>& ends) {
    return pipe2(ends.data(), O_CLOEXEC) == 0;
}

void closeOtherDescriptors(posix_spawn_file_actions_t& actions, posix_spawnattr_t& /*attributes*/) {
    const int error = posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "could not prepare a child");
    }
}

} // namespace tavo
