#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace tavo {

/// How a piece of output stands out on a terminal.
enum class Emphasis { none, strong, good, warning, bad };

/// Writes lines to a stream. Colour goes to a terminal only, and not when NO_COLOR is set and not empty (no-color.org).
class Console {
public:
    /// @param stream  stays the caller's.
    explicit Console(std::FILE* stream);

    /// The text with the codes that emphasise it, or as it is.
    std::string styled(std::string_view text, Emphasis emphasis) const;

    /// Writes a line at once. Gives false when nobody reads any more.
    bool print(std::string_view line) const;

private:
    std::FILE* stream;
    bool hasColour;
};

} // namespace tavo
