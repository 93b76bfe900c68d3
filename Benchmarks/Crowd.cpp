#include "Crowd.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace tavo {

Crowd::Crowd(int size) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "could not make a pipe");
    }
    const FileDescriptor waitedFor(ends[0]);
    heldOpen = FileDescriptor(ends[1]);
    fcntl(heldOpen.get(), F_SETFD, FD_CLOEXEC); // a program that is started meanwhile must not hold it open as well
    for (int count = 0; count < size; ++count) {
        const pid_t child = fork();
        if (child < 0) {
            const int error = errno;
            disperse();
            throw std::system_error(error, std::generic_category(), "could not start so many processes");
        }
        if (child == 0) {
            heldOpen.reset();
            char nothing = 0;
            while (read(waitedFor.get(), &nothing, 1) < 0 && errno == EINTR) {
            }
            _exit(0);
        }
        members.push_back(child);
    }
}

Crowd::~Crowd() {
    disperse();
}

void Crowd::disperse() {
    heldOpen.reset();
    for (const pid_t child : members) {
        waitpid(child, nullptr, 0);
    }
    members.clear();
}

} // namespace tavo
