#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tavo {

/// The SHA-256 of a text, FIPS 180-4, in 64 hexadecimal digits as sha256sum(1) prints it.
std::string sha256(std::string_view content);

/// The same of a file. @throws std::system_error when it cannot be read.
std::string sha256OfFile(const std::filesystem::path& file);

} // namespace tavo
