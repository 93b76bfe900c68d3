#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace tavo {

/// The text of one attribute file of sysfs without white space at its ends. Absent when it cannot be read, is empty, or
/// is longer than a page, which no attribute is.
std::optional<std::string> readAttribute(const std::filesystem::path& file);

/// An attribute that is one decimal number and nothing else.
std::optional<std::int64_t> readNumber(const std::filesystem::path& file);

} // namespace tavo
