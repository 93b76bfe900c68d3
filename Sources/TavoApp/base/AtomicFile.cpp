#include "base/AtomicFile.h"

#include "base/FileError.h"
#include "base/TrustedPath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace tavo {

namespace {

/// Where a link leads, also when the file that it names is not there yet.
std::filesystem::path resolvedLink(const std::filesystem::path& path) {
    constexpr int maxLinks = 40; // as many as the kernel follows
    std::error_code error;
    auto resolved = path;
    for (int followed = 0; std::filesystem::is_symlink(resolved, error); ++followed) {
        const auto target = std::filesystem::read_symlink(resolved, error);
        if (error || followed == maxLinks) {
            return path; // a link that cannot be followed is replaced by the file itself
        }
        resolved = resolved.parent_path() / target;
    }
    return resolved;
}

/// Where the content of a path is to be put: a link stays one.
std::filesystem::path placeOf(const std::filesystem::path& path) {
    return geteuid() == 0 ? trustedFile(path) : resolvedLink(path);
}

/// A folder is not made where somebody's link leads: to a disk that is not mounted, as likely as not.
void refuseDanglingLink(const std::filesystem::path& directory) {
    std::error_code ignored; // a path that cannot be examined is refused by the system itself
    for (auto folder = directory; folder.has_relative_path(); folder = folder.parent_path()) {
        if (std::filesystem::is_symlink(folder, ignored) && !std::filesystem::exists(folder, ignored) && !ignored) {
            throw std::system_error(ENOENT, std::generic_category(),
                                    folder.string() + " is a link to " +
                                        std::filesystem::read_symlink(folder, ignored).string());
        }
    }
}

void makeDirectories(const std::filesystem::path& directory) {
    std::error_code ignored; // mkdir reports what stat cannot
    if (directory.empty() || std::filesystem::is_directory(directory, ignored)) {
        return;
    }
    if (directory.has_parent_path() && directory.parent_path() != directory) {
        makeDirectories(directory.parent_path());
    }
    const int error = mkdir(directory.c_str(), S_IRWXU) == 0 ? 0 : errno;
    if (error != 0 && !std::filesystem::is_directory(directory, ignored)) {
        throw FileError(error == EEXIST ? ENOTDIR : error, "could not create the folder", directory);
    }
}

} // namespace

StagedFile::StagedFile(const std::filesystem::path& path, std::string_view content, mode_t mode)
    : place(placeOf(path)), file(place) {
    file.write(content);
    keepOwner();
    if (fchmod(file.descriptor(), mode) != 0) {
        throw FileError(errno, "could not set who may read", place);
    }
    file.flush();
}

/// Root may write anybody's file, and must not lock its owner out with that.
void StagedFile::keepOwner() const {
    struct stat old {};
    if (geteuid() == 0 && lstat(place.c_str(), &old) == 0 && S_ISREG(old.st_mode) && old.st_uid != 0 &&
        fchown(file.descriptor(), old.st_uid, old.st_gid) != 0) {
        throw FileError(errno, "could not keep the owner of", place);
    }
}

bool createFile(const std::filesystem::path& path, std::string_view content) {
    const auto place = trustedFile(path);
    struct stat status {};
    if (lstat(place.c_str(), &status) == 0) {
        return false;
    }
    UnfinishedFile file(place);
    file.write(content);
    file.flush();
    return file.linkIntoPlace();
}

std::string readWholeFile(const std::filesystem::path& path, std::size_t limit) {
    // Without O_NONBLOCK a pipe in the file's place would hold the caller for ever.
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0) {
        throw FileError(errno, "could not read", path);
    }
    if (!S_ISREG(status.st_mode)) {
        throw FileError::noFile(status.st_mode, "could not read", path, "");
    }
    std::string content;
    constexpr std::size_t chunk = 65536;
    for (;;) {
        const auto before = content.size();
        content.resize(before + chunk);
        const auto count = read(file.get(), content.data() + before, chunk);
        content.resize(before + static_cast<std::size_t>(count > 0 ? count : 0));
        if (content.size() > limit) {
            throw std::system_error(EFBIG, std::generic_category(), "could not read " + path.string());
        }
        if (count == 0) {
            return content;
        }
        if (count < 0 && errno != EINTR) {
            throw FileError(errno, "could not read", path);
        }
    }
}

void replaceFileAtomically(const std::filesystem::path& path, std::string_view content, mode_t mode) {
    StagedFile(path, content, mode).moveIntoPlace();
}

void ensureDirectoryExists(const std::filesystem::path& directory) {
    refuseDanglingLink(directory);
    makeDirectories(trustedFolder(directory));
    // In a folder such as /tmp somebody else may have been faster.
    trustedFolder(directory);
}

} // namespace tavo
