#include "system/linux/SysfsAttribute.h"

#include "base/FileDescriptor.h"
#include "base/Text.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>

namespace tavo {

std::optional<std::string> readAttribute(const std::filesystem::path& file) {
    // Non-blocking, so that anything else with this name (a FIFO) cannot block the caller.
    const FileDescriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!descriptor) {
        return std::nullopt;
    }
    std::array<char, 4097> buffer{};
    ssize_t length = 0;
    do {
        length = read(descriptor.get(), buffer.data(), buffer.size());
    } while (length < 0 && errno == EINTR);
    if (length <= 0 || static_cast<std::size_t>(length) == buffer.size()) {
        return std::nullopt;
    }
    const auto text = trimWhitespaceAndNewlines({buffer.data(), static_cast<std::size_t>(length)});
    return text.empty() ? std::nullopt : std::optional<std::string>(text);
}

std::optional<std::int64_t> readNumber(const std::filesystem::path& file) {
    const auto text = readAttribute(file);
    if (!text) {
        return std::nullopt;
    }
    std::int64_t number = 0;
    const char* const end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

} // namespace tavo
