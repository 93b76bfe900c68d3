#include "base/WrappedText.h"

#include <algorithm>

namespace tavo {

std::size_t characterCount(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char unit) { return (static_cast<unsigned char>(unit) & 0xC0U) != 0x80U; }));
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
    std::vector<std::string> lines(1);
    while (!text.empty()) {
        const auto word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (!lines.back().empty() && characterCount(lines.back()) + 1 + characterCount(word) > width) {
            lines.emplace_back();
        }
        lines.back() += lines.back().empty() ? "" : " ";
        lines.back() += word;
    }
    return lines;
}

} // namespace tavo
