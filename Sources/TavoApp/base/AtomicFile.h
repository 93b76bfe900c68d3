#pragma once

#include "base/UnfinishedFile.h"

#include <sys/types.h>

#include <filesystem>
#include <limits>
#include <string>
#include <string_view>

namespace tavo {

/// Reads a whole file.
/// @throws FileError, also when it is no regular file, and std::system_error (file_too_large) as soon as there are more
///         than `limit` bytes.
std::string readWholeFile(const std::filesystem::path& path,
                          std::size_t limit = std::numeric_limits<std::size_t>::max());

/// The new content of a file, written and flushed to the disk beside it. Takes the file's place when asked to, and
/// vanishes otherwise.
class StagedFile {
public:
    /// See replaceFileAtomically(). Nothing has happened to the file itself yet.
    explicit StagedFile(const std::filesystem::path& path, std::string_view content, mode_t mode = 0600);

    /// The file that is replaced: what the path leads to when it is a link.
    const std::filesystem::path& target() const { return place; }

    /// @throws std::system_error; the old file is whole then.
    void moveIntoPlace() { file.moveIntoPlace(); }

private:
    void keepOwner() const;

    std::filesystem::path place;
    UnfinishedFile file;
};

/// Replaces a file's content, or makes the file: a temporary file in the same folder is written, flushed to the disk
/// and renamed over it, so that at every moment the path holds either the old content or the new one, whole. A symbolic
/// link stays one: the file that it leads to is replaced. Root leaves the file to its owner, and uses only folders and
/// links that are root's own, see trustedFile().
/// @param mode  of the new file; the process's mask does not count.
/// @throws FileError, and UntrustedPathError; the old file is whole then, and no temporary file is left. One that a
///         killed process has left is removed by the next call for the same path.
void replaceFileAtomically(const std::filesystem::path& path, std::string_view content, mode_t mode = 0600);

/// Makes a file for its owner alone, which is whole as soon as it is there. Gives false when there is something under
/// that name already. @throws FileError, and UntrustedPathError; no file is left then.
bool createFile(const std::filesystem::path& path, std::string_view content);

/// Makes a folder and the missing ones above it, each with mode 0700; leaves one that exists as it is.
/// @throws std::system_error naming the path, and UntrustedPathError.
void ensureDirectoryExists(const std::filesystem::path& directory);

} // namespace tavo
