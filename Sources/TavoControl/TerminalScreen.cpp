#include "TavoControl/TerminalScreen.h"

#include "TavoControl/Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace tavo {

namespace {

// Control sequences of xterm, which the terminals of today share. Without automatic wrapping (mode 7) a line that is
// too long ends at the edge. Mode 25 is the cursor.
constexpr const char* takeScreen = "\x1B[?1049h\x1B[?25l\x1B[?7l";
constexpr const char* giveScreenBack = "\x1B[?7h\x1B[?25h\x1B[?1049l";
constexpr const char* toTheTop = "\x1B[H";
constexpr const char* clearLine = "\x1B[K";
constexpr const char* clearBelow = "\x1B[J";

constexpr std::size_t ordinaryColumns = 80;
constexpr std::size_t ordinaryRows = 24;

winsize sizeOf(std::FILE* stream) {
    winsize size{};
    if (ioctl(fileno(stream), TIOCGWINSZ, &size) != 0) {
        return {};
    }
    return size;
}

/// In the background the terminal is somebody else's to set, and trying would stop this process.
bool isInForeground() {
    return tcgetpgrp(STDIN_FILENO) == getpgrp();
}

} // namespace

TerminalScreen::TerminalScreen(std::FILE* stream) : stream(stream) {
    enter();
}

void TerminalScreen::enter() {
    if (isTaken) {
        return;
    }
    hideTyping();
    isTaken = true;
    write(takeScreen);
}

void TerminalScreen::hideTyping() {
    termios current{};
    if (!isInForeground() || tcgetattr(STDIN_FILENO, &current) != 0) {
        return;
    }
    settings = current;
    current.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &current);
}

void TerminalScreen::leave() noexcept {
    if (!isTaken) {
        return;
    }
    isTaken = false;
    // A terminal that has gone has nothing to restore.
    std::fputs(giveScreenBack, stream);
    std::fflush(stream);
    if (settings && isInForeground()) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &*settings);
    }
    settings.reset();
}

void TerminalScreen::draw(const std::vector<std::string>& lines) {
    if (!isTaken) {
        return;
    }
    const auto shown = std::min(lines.size(), rows());
    std::string text = toTheTop;
    for (std::size_t line = 0; line < shown; ++line) {
        text += (line == 0 ? "" : "\r\n") + lines[line] + clearLine;
    }
    write(text + (shown < rows() ? std::string("\r\n") + clearBelow : std::string()));
}

std::size_t TerminalScreen::columns() const {
    const auto size = sizeOf(stream);
    return size.ws_col == 0 ? ordinaryColumns : size.ws_col;
}

std::size_t TerminalScreen::rows() const {
    const auto size = sizeOf(stream);
    return size.ws_row == 0 ? ordinaryRows : size.ws_row;
}

void TerminalScreen::write(const std::string& text) const {
    if (std::fwrite(text.data(), 1, text.size(), stream) != text.size() || std::fflush(stream) != 0) {
        throw OutputError(errno, std::generic_category(), "the output cannot be written");
    }
}

} // namespace tavo
