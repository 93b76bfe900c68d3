#include "TavoControl/Console.h"

#include "base/JsonCoding.h"
#include "base/Text.h"
#include "system/ChildProcess.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

/// Select Graphic Rendition parameters (ECMA-48).
std::string_view renditionOf(Emphasis emphasis) {
    switch (emphasis) {
    case Emphasis::none:
        return {};
    case Emphasis::strong:
        return "1";
    case Emphasis::good:
        return "32";
    case Emphasis::warning:
        return "33";
    case Emphasis::bad:
        return "31";
    }
    return {};
}

bool wantsColour(std::FILE* stream) {
    const char* noColour = std::getenv("NO_COLOR");
    return isatty(fileno(stream)) == 1 && (noColour == nullptr || noColour[0] == '\0');
}

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

std::string shownJson(const Json& value, int indentation) {
    return escapedControlsInJson(value.dump(indentation, ' ', false, Json::error_handler_t::replace));
}

Console::Console(std::FILE* stream) : stream(stream), hasColour(wantsColour(stream)) {}

std::string Console::styled(std::string_view text, Emphasis emphasis) const {
    const auto rendition = renditionOf(emphasis);
    return hasColour && !rendition.empty() ? fmt::format("\x1B[{}m{}\x1B[0m", rendition, text) : std::string(text);
}

std::optional<std::size_t> Console::width() const {
    winsize size{};
    if (isatty(fileno(stream)) != 1 || ioctl(fileno(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
        return std::nullopt;
    }
    return size.ws_col;
}

void Console::print(std::string_view line) const {
    const auto text = std::string(line) + "\n";
    if (std::fwrite(text.data(), 1, text.size(), stream) != text.size() || std::fflush(stream) != 0) {
        throw OutputError(errno, std::generic_category(), "the output cannot be written");
    }
}

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
