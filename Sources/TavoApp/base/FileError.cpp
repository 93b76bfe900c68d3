#include "base/FileError.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace tavo {

namespace {

/// As the end of a sentence; empty where the system's own words say enough.
std::string remedyFor(int code) {
    switch (code) {
    case ENOSPC:
        return "; delete something on that disk, and try again";
    case EDQUOT:
        return "; delete some of your files there, or have your quota raised";
    case EROFS:
        return "; make that file system writable, or name a folder on another one";
    case EFBIG:
        return "; raise the limit on the size of files (ulimit -f)";
    case ELOOP:
        return "; remove the link that leads back to itself";
    case EISDIR:
        return "; move that folder away";
    default:
        return "";
    }
}

std::string kindOf(mode_t mode) {
    if (S_ISDIR(mode)) {
        return "a folder";
    }
    if (S_ISLNK(mode)) {
        return "a link";
    }
    if (S_ISFIFO(mode)) {
        return "a pipe";
    }
    if (S_ISSOCK(mode)) {
        return "a socket";
    }
    return "a device";
}

} // namespace

FileError::FileError(int code, const std::string& attempt, const std::filesystem::path& path)
    : FileError(code, fmt::format("{} {}: {}{}", attempt, path.string(), std::generic_category().message(code),
                                  remedyFor(code))) {}

FileError::FileError(int code, std::string text)
    : std::system_error(code, std::generic_category()), text(std::move(text)) {}

FileError FileError::noFile(mode_t mode, const std::string& attempt, const std::filesystem::path& path,
                            std::string_view remedy) {
    const auto kind = kindOf(mode);
    return {S_ISDIR(mode) ? EISDIR : EINVAL,
            fmt::format("{} {}, which is {} and not a file{}", attempt, path.string(), kind, remedy)};
}

} // namespace tavo
