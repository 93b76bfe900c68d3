#include "TavoControl/ReaderWatch.h"

#include "system/ChildProcess.h"

#include <poll.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

bool isPipe(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
}

/// Gives true when the reader has gone, and false when the other descriptor says that it is no longer of interest.
bool waitForLastReader(int descriptor, int ended) {
    // Nothing ever comes in at a pipe's writing end, but Darwin reports its end only to those who wait for input.
    std::array<pollfd, 2> waiting{{{descriptor, POLLIN, 0}, {ended, POLLIN, 0}}};
    while (waiting[0].revents == 0 && waiting[1].revents == 0) {
        if (poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) {
            return false;
        }
    }
    return waiting[1].revents == 0 && (waiting[0].revents & (POLLERR | POLLHUP)) != 0;
}

} // namespace

ReaderWatch::ReaderWatch(int descriptor, std::function<void()> onGone) {
    if (!isPipe(descriptor)) {
        return;
    }
    std::array<int, 2> ends{};
    if (!makeClosingPipe(ends)) {
        throw std::system_error(errno, std::generic_category(), "could not make a pipe");
    }
    const auto ended = std::make_shared<FileDescriptor>(ends[0]);
    ending = FileDescriptor(ends[1]);
    thread = std::thread([descriptor, ended, onGone = std::move(onGone)] {
        if (waitForLastReader(descriptor, ended->get())) {
            onGone();
        }
    });
}

ReaderWatch::~ReaderWatch() {
    ending.reset();
    if (thread.joinable()) {
        thread.join();
    }
}

} // namespace tavo
