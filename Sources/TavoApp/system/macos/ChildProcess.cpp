#include "system/ChildProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <system_error>

namespace tavo {

// There is no pipe2(2) here. A child that another thread spawns between the calls gets the ends all the same closed:
// every child of Tavo starts with POSIX_SPAWN_CLOEXEC_DEFAULT.
bool makeClosingPipe(std::array<int, 2>& ends) {
    return pipe(ends.data()) == 0 && fcntl(ends[0], F_SETFD, FD_CLOEXEC) == 0 &&
           fcntl(ends[1], F_SETFD, FD_CLOEXEC) == 0;
}

void closeOtherDescriptors(posix_spawn_file_actions_t& actions, posix_spawnattr_t& attributes) {
    // Under this flag the child gets only what the file actions name, posix_spawnattr_setflags(3): standard input too
    // has to be named where it is inherited.
    short flags = 0;
    int error = posix_spawnattr_getflags(&attributes, &flags);
    if (error == 0) {
        error = posix_spawnattr_setflags(&attributes, static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT));
    }
    if (error == 0) {
        error = posix_spawn_file_actions_addinherit_np(&actions, STDIN_FILENO);
    }
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "could not prepare a child");
    }
}

} // namespace tavo
