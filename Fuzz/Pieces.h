#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace tavo {

/// Separates the parts of an input that stands for several values: no text that a person types has it.
constexpr char pieceSeparator = '\x1E';

/// The parts of an input between the separators; one empty part for an empty input.
inline std::vector<std::string_view> pieces(std::string_view bytes, char separator = pieceSeparator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const auto end = bytes.find(separator);
        parts.push_back(bytes.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        bytes.remove_prefix(end + 1);
    }
}

} // namespace tavo
