#pragma once

#include <termios.h>

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// A terminal's second screen (xterm's private mode 1049), which is drawn as a whole and leaves the first one
/// unchanged.
class TerminalScreen {
public:
    /// Takes the screen. @param stream  a terminal; stays the caller's. @throws OutputError
    explicit TerminalScreen(std::FILE* stream);
    TerminalScreen(const TerminalScreen&) = delete;
    TerminalScreen& operator=(const TerminalScreen&) = delete;

    /// Restores the first screen.
    ~TerminalScreen() { leave(); }

    /// Takes the screen again after leave(). @throws OutputError
    void enter();

    /// Restores the first screen while the program is stopped, or permanently. Discards typed input.
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
