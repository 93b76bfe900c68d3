#include "TavoInhibit/StandardStreams.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace tavo {

void occupyStandardDescriptors() {
    // open() gives the lowest free number: going up, each gap is filled by its own.
    for (const auto descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            open("/dev/null", O_RDWR);
        }
    }
}

EndOfInput::EndOfInput(sd_event& event, int input, std::function<void()> ended) : ended(std::move(ended)) {
    const auto result = sd_event_add_io(&event, Receive(source), input, EPOLLIN, onReadable, this);
    // epoll_ctl(2): EPERM for what is always ready.
    reached = result == -EPERM;
    if (!reached) {
        checked(result, "watch standard input");
    }
}

int EndOfInput::onReadable(sd_event_source*, int descriptor, unsigned, void* self) noexcept {
    auto& input = *static_cast<EndOfInput*>(self);
    std::array<char, 4096> ignored{};
    const auto count = read(descriptor, ignored.data(), ignored.size());
    if (count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR))) {
        return 0;
    }
    // An unreadable input (a terminal that hung up) can announce no later end either.
    input.reached = true;
    input.source.reset();
    input.ended();
    return 0;
}

} // namespace tavo
