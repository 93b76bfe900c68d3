#pragma once

#include "base/FileDescriptor.h"
#include "base/Json.h"

#include <cstddef>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

namespace tavo {

/// How a piece of output stands out on a terminal.
enum class Emphasis { none, strong, good, warning, bad };

/// JSON as it is printed: what could steer a terminal (DEL, C1, line and paragraph separators, the bidirectional
/// controls) is written as an escape, as JSON itself demands for C0. A parser reads the same value.
/// @param indentation  of each level; negative for a text on one line.
std::string shownJson(const Json& value, int indentation = 2);

/// A line could not be written: the disk is full, or nobody reads any more.
class OutputError final : public std::system_error {
public:
    using std::system_error::system_error;

    /// Whether the reader has gone, as head(1) does: there is nobody left to tell.
    bool isReaderGone() const { return code() == std::errc::broken_pipe; }
};

/// Writes lines to a stream. Colour goes to a terminal only, and not when NO_COLOR is set and not empty (no-color.org).
class Console {
public:
    /// @param stream  stays the caller's.
    explicit Console(std::FILE* stream);

    /// The text with the codes that emphasise it, or as it is.
    std::string styled(std::string_view text, Emphasis emphasis) const;

    /// How many characters a line of the terminal has; nothing for a stream that is no terminal, or one of unknown
    /// size.
    std::optional<std::size_t> width() const;

    /// Writes a line at once. @throws OutputError
    void print(std::string_view line) const;

private:
    std::FILE* stream;
    bool hasColour;
};

/// Notices when nobody reads a pipe any more. A program that writes once an hour would otherwise notice an hour later.
class ReaderWatch {
public:
    /// Does nothing for a descriptor that is no pipe: a terminal that closes sends a signal.
    /// @param descriptor  stays the caller's, and open for as long as this lives.
    /// @param onGone      called once, on a thread of its own. @throws std::system_error.
    ReaderWatch(int descriptor, std::function<void()> onGone);
    ReaderWatch(const ReaderWatch&) = delete;
    ReaderWatch& operator=(const ReaderWatch&) = delete;

    /// Returns when no call is under way any more.
    ~ReaderWatch();

private:
    FileDescriptor ending; ///< closed to end the thread
    std::thread thread;
};

} // namespace tavo
