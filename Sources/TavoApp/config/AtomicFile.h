#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace tavo {

/// Reads a whole file. @throws std::system_error naming the path, also when it is no regular file.
std::string readWholeFile(const std::filesystem::path& path);

/// Replaces a file's content, or makes the file: a temporary file in the same folder is written, flushed to the disk and
/// renamed over it, so that at every moment the path holds either the old content or the new one, whole. A symbolic link
/// stays one: the file that it leads to is replaced.
/// @param mode  of the new file; the process's mask does not count.
/// @throws std::system_error naming the path; the old file is whole then, and no temporary file is left.
void replaceFileAtomically(const std::filesystem::path& path, std::string_view content, mode_t mode = 0600);

/// Makes a file for its owner alone. Gives false when there is something under that name already.
/// @throws std::system_error naming the path.
bool createFile(const std::filesystem::path& path, std::string_view content);

/// Makes a folder and the missing ones above it, each with mode 0700; leaves one that exists as it is.
/// @throws std::system_error naming the path.
void ensureDirectoryExists(const std::filesystem::path& directory);

} // namespace tavo
