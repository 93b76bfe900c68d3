#pragma once

#include <termios.h>

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// A terminal's second screen (xterm's private mode 1049), which is drawn as a whole, and leaves the first one as it was.
class TerminalScreen {
public:
    /// Takes the screen. @param stream  a terminal; stays the caller's. @throws OutputError
    explicit TerminalScreen(std::FILE* stream);
    TerminalScreen(const TerminalScreen&) = delete;
    TerminalScreen& operator=(const TerminalScreen&) = delete;

    /// Gives the screen back.
    ~TerminalScreen() { leave(); }

    /// Takes the screen again after leave(). @throws OutputError
    void enter();

    /// Gives the screen back for as long as the program is stopped, or for good. Drops what was typed.
    void leave() noexcept;

    /// Shows these lines from the top and nothing below; what does not fit is left out. @throws OutputError
    void draw(const std::vector<std::string>& lines);

    std::size_t columns() const;
    std::size_t rows() const;

private:
    void write(const std::string& text) const;
    void hideTyping();

    std::FILE* stream;
    std::optional<termios> settings;
    bool isTaken = false;
};

} // namespace tavo
