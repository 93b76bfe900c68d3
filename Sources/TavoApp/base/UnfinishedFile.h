#pragma once

#include "base/FileDescriptor.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace tavo {

/// A new file beside the one that it is to replace, for this user alone. Removed again unless somebody renames it.
///
/// A process that is killed leaves its file behind. It is locked for as long as its writer lives, so that the next
/// writer of the same file can tell a file that was left from one that is being written, and removes it.
class UnfinishedFile {
public:
    /// Removes first the unfinished files that were left beside `place`.
    /// @param place  the file to be replaced, or one whose name goes on after a dot.
    /// @throws FileError
    explicit UnfinishedFile(const std::filesystem::path& place);
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile();

    int descriptor() const { return file.get(); }

    /// @throws FileError
    void write(std::string_view content) const;

    /// To the disk, to be done before it gets its name. @throws FileError
    void flush() const;

    /// Renames it over `place`. @throws FileError; it goes on then.
    void moveIntoPlace();

    /// Gives it the name of `place` as well, unless there is something under that name already, which is left alone.
    /// @return whether the name was free. @throws FileError
    bool linkIntoPlace();

private:
    bool isNameOurs() const;

    std::filesystem::path place;
    std::string name;
    FileDescriptor file;
    bool isMoved = false;
};

} // namespace tavo
