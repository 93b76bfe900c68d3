#include "IconSet/IconFile.h"

#include <cstdint>

namespace tavo {

namespace {

constexpr std::size_t headerLength = 8;

std::string bigEndian(std::size_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<char>((static_cast<std::uint32_t>(number) >> shift) & 0xFFU));
    }
    return bytes;
}

} // namespace

std::string icnsFile(const std::vector<std::pair<std::string_view, std::string>>& pictures) {
    std::string content;
    for (const auto& [type, data] : pictures) {
        content.append(type).append(bigEndian(data.size() + headerLength)).append(data);
    }
    return "icns" + bigEndian(content.size() + headerLength) + content;
}

} // namespace tavo
