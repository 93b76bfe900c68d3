#pragma once

#include <filesystem>
#include <string>

namespace tavo {

/// A path as one word of ExecStart=, systemd.service(5), "Command lines", and systemd.unit(5), "Specifiers".
std::string unitWord(const std::filesystem::path& path);

} // namespace tavo
