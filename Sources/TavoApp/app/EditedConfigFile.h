#pragma once

#include "config/TavoPaths.h"

#include <filesystem>
#include <optional>

namespace tavo {

/// Keeps what config.json holds beside it as "config.json.edited", with a number when there is such a file already. Gives
/// the copy's file; nothing when there is no config.json.
/// @throws std::system_error naming the path; nothing may be written over the file then.
std::optional<std::filesystem::path> keepEditedConfigAside(const TavoPaths& paths);

} // namespace tavo
