#include "config/HistoryFile.h"

#include "base/AtomicFile.h"
#include "base/ErrorText.h"
#include "base/FileDescriptor.h"
#include "base/FileError.h"
#include "base/JsonCoding.h"
#include "base/TrustedPath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>
#include <system_error>

namespace tavo {

namespace {

[[noreturn]] void throwErrno(int error, const std::string& what, const std::filesystem::path& path) {
    throw FileError(error, what, path);
}

/// Where the file lies when its folder is root's alone, see trustedFolder(). A link in the file's own place is not
/// followed.
std::filesystem::path placeOf(const std::filesystem::path& path) {
    return trustedFolder(path.parent_path()) / path.filename();
}

/// Opens a file of the user's own. @return nothing when it is missing.
FileDescriptor openOwn(const std::filesystem::path& path, int flags, const std::string& purpose) {
    // A pipe without a reader would hold the caller for ever without O_NONBLOCK, and a link may lead anywhere.
    FileDescriptor file(open(placeOf(path).c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                             static_cast<mode_t>(S_IRUSR | S_IWUSR)));
    if (!file) {
        if (errno == ENOENT) {
            return file;
        }
        if (errno == ELOOP) {
            throw FileError::noFile(S_IFLNK, purpose, path);
        }
        throwErrno(errno, purpose, path);
    }
    struct stat status {};
    if (fstat(file.get(), &status) != 0) {
        throwErrno(errno, purpose, path);
    }
    if (!S_ISREG(status.st_mode)) {
        throw FileError::noFile(status.st_mode, purpose, path);
    }
    if (status.st_uid != geteuid()) {
        throwErrno(EPERM, purpose + " another user's file,", path);
    }
    return file;
}

FileDescriptor openForAppending(const std::filesystem::path& path, int more = 0) {
    return openOwn(path, O_RDWR | O_APPEND | more, "could not append to");
}

struct stat statusOf(const FileDescriptor& file, const std::filesystem::path& path) {
    struct stat status {};
    if (fstat(file.get(), &status) != 0) {
        throwErrno(errno, "could not look at", path);
    }
    return status;
}

bool isStillAt(const std::filesystem::path& path, const struct stat& status) {
    struct stat now {};
    return lstat(path.c_str(), &now) == 0 && now.st_dev == status.st_dev && now.st_ino == status.st_ino;
}

/// Renames a full file. Gives false when another process has done it, or is about to.
bool turnOver(const FileDescriptor& file, const std::filesystem::path& path, const std::filesystem::path& old) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (fcntl(file.get(), F_SETLK, &lock) != 0) {
        return false;
    }
    // Only who has locked the very file that lies at the path renames it: a second writer that came as far as this with
    // the same file would put the new, nearly empty one over the old.
    return isStillAt(path, statusOf(file, path)) && std::rename(path.c_str(), old.c_str()) == 0;
}

bool endsWithinALine(const FileDescriptor& file, off_t size) {
    char last = '\n';
    return size > 0 && pread(file.get(), &last, 1, size - 1) == 1 && last != '\n';
}

/// A file that was made by hand or by a mistake may be of any size.
constexpr off_t maxBytes = off_t{4} << 20U;

std::string readEnd(const FileDescriptor& file, const std::filesystem::path& path) {
    const auto size = statusOf(file, path).st_size;
    auto at = size > maxBytes ? size - maxBytes : 0;
    std::string content(static_cast<std::size_t>(size - at), '\0');
    std::size_t done = 0;
    while (done < content.size()) {
        const auto count = pread(file.get(), content.data() + done, content.size() - done, at);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throwErrno(errno, "could not read", path);
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
        at += count;
    }
    content.resize(done);
    return content;
}

} // namespace

void HistoryFile::append(const HistoryEntry& entry) const {
    ensureDirectoryExists(path.parent_path());
    appendLine(entry.line() + "\n");
}

void HistoryFile::appendLine(const std::string& line) const {
    const auto place = placeOf(path);
    auto file = openForAppending(path, O_CREAT);
    auto status = statusOf(file, path);
    if (static_cast<std::size_t>(status.st_size) + line.size() > turnOverAt && status.st_size > 0 &&
        (turnOver(file, place, placeOf(oldPath())) || !isStillAt(place, status))) {
        file = openForAppending(path, O_CREAT);
        status = statusOf(file, path);
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0 && fchmod(file.get(), S_IRUSR | S_IWUSR) != 0) {
        throwErrno(errno, "could not set who may read", path);
    }
    // A line cut by a power failure or a full disk spoils no other line.
    const auto text = endsWithinALine(file, status.st_size) ? "\n" + line : line;
    const auto written = write(file.get(), text.data(), text.size());
    if (written != static_cast<ssize_t>(text.size())) {
        throwErrno(written < 0 ? errno : ENOSPC, "could not append to", path);
    }
}

HistoryContent HistoryFile::read() const {
    HistoryContent content;
    readInto(content, oldPath());
    readInto(content, path);
    return content;
}

void HistoryFile::readInto(HistoryContent& content, const std::filesystem::path& source) const {
    const auto file = openOwn(source, O_RDONLY, "could not read");
    if (!file) {
        return;
    }
    const auto text = readEnd(file, source);
    for (std::string_view rest = text; !rest.empty();) {
        const auto length = rest.find('\n');
        const auto line = rest.substr(0, length);
        rest.remove_prefix(length == std::string_view::npos ? rest.size() : length + 1);
        if (line.empty()) {
            continue;
        }
        if (line.size() > HistoryEntry::maxLineLength) {
            ++content.skippedLines;
            continue;
        }
        try {
            content.entries.push_back(HistoryEntry::fromLine(line));
        } catch (const DecodingError&) {
            ++content.skippedLines;
        }
    }
}

std::optional<std::string> HistoryFile::problem() const {
    try {
        const auto file = openForAppending(path);
        const auto folder = trustedFolder(path.parent_path());
        std::error_code ignored; // a folder that cannot be examined cannot be written either
        if (!file && std::filesystem::exists(folder, ignored) && access(folder.c_str(), W_OK | X_OK) != 0) {
            throwErrno(errno, "could not write in", folder);
        }
        struct statvfs space {};
        if (statvfs(folder.c_str(), &space) == 0 && space.f_bavail == 0) {
            throwErrno(ENOSPC, "could not append to", path);
        }
    } catch (const std::exception& error) {
        return errorClause(error);
    }
    return std::nullopt;
}

} // namespace tavo
