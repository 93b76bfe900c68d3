#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace tavo {

/// A file could not be used. Says what the user can do about it where that is not obvious.
class FileError final : public std::system_error {
public:
    /// @param code  an errno value.
    /// @param attempt  as in "could not write", followed by the path.
    FileError(int code, const std::string& attempt, const std::filesystem::path& path);

    /// Something else lies where a file should: a folder, a pipe, a device.
    /// @param mode    what the system says of it, see inode(7).
    /// @param remedy  as the end of the sentence; empty for a caller whose own sentence goes on with one.
    static FileError noFile(mode_t mode, const std::string& attempt, const std::filesystem::path& path,
                            std::string_view remedy = "; move it away");

    const char* what() const noexcept override { return text.c_str(); }

private:
    FileError(int code, std::string text);

    std::string text;
};

} // namespace tavo
