#include "system/Interruption.h"

#include "system/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace tavo {

namespace {

bool isReadable(int descriptor, std::chrono::milliseconds bound) {
    pollfd waited{.fd = descriptor, .events = POLLIN, .revents = 0};
    const auto deadline = std::chrono::steady_clock::now() + bound;
    int count = 0;
    do {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
        count = poll(&waited, 1, static_cast<int>(left > 0 ? left : 0));
    } while (count < 0 && errno == EINTR);
    return count > 0;
}

} // namespace

Interruption::Interruption() {
    std::array<int, 2> ends{};
    if (!makeClosingPipe(ends)) {
        throw std::system_error(errno, std::generic_category(), "could not make a pipe");
    }
    reading = FileDescriptor(ends[0]);
    writing = FileDescriptor(ends[1]);
    // However often it is called for: a full pipe must not block.
    fcntl(writing.get(), F_SETFL, O_NONBLOCK);
}

void Interruption::interrupt() noexcept {
    constexpr char anything = 0;
    while (write(writing.get(), &anything, 1) < 0 && errno == EINTR) {
    }
}

bool Interruption::isInterrupted() const noexcept {
    return isReadable(reading.get(), std::chrono::milliseconds{0});
}

void Interruption::sleep(std::chrono::microseconds time) const {
    if (isReadable(reading.get(), std::chrono::ceil<std::chrono::milliseconds>(time))) {
        throw Interrupted();
    }
}

} // namespace tavo
