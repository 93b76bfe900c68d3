#include "config/InstanceLock.h"

#include "base/AtomicFile.h"
#include "base/FileError.h"
#include "base/TrustedPath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace tavo {

namespace {

/// Far more than any note needs.
constexpr std::size_t maxContent = std::size_t{1} << 20U;

struct flock wholeFile(short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

[[noreturn]] void throwErrno(const std::filesystem::path& path) {
    throw FileError(errno, "could not lock", path);
}

/// A pipe without another end would hold the caller for ever without O_NONBLOCK.
FileDescriptor openLock(const std::filesystem::path& path, int flags) {
    return FileDescriptor(open(path.c_str(), flags | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR));
}

void requireFile(const FileDescriptor& file, const std::filesystem::path& path) {
    struct stat status {};
    if (fstat(file.get(), &status) != 0) {
        throwErrno(path);
    }
    if (!S_ISREG(status.st_mode)) {
        throw FileError::noFile(status.st_mode, "could not lock", path);
    }
}

} // namespace

std::optional<InstanceLock> InstanceLock::acquire(const std::filesystem::path& path, const std::string& note) {
    ensureDirectoryExists(path.parent_path());
    auto file = openLock(trustedFile(path), O_RDWR | O_CREAT);
    if (!file) {
        throwErrno(path);
    }
    requireFile(file, path);
    auto lock = wholeFile(F_WRLCK);
    if (fcntl(file.get(), F_SETLK, &lock) != 0) {
        if (errno == EACCES || errno == EAGAIN) {
            return std::nullopt;
        }
        throwErrno(path);
    }
    InstanceLock held(std::move(file), path);
    try {
        held.replaceNote(note);
    } catch (const FileError&) {
        // On a full disk the lock is held all the same. Only what tavoctl status says of this run depends on the note.
    }
    return held;
}

void InstanceLock::replaceNote(const std::string& note) const {
    const auto content = std::to_string(getpid()) + "\n" + (note.empty() ? "" : note + "\n");
    if (ftruncate(file.get(), 0) != 0) {
        throwErrno(path);
    }
    const auto written = pwrite(file.get(), content.data(), content.size(), 0);
    if (written != static_cast<ssize_t>(content.size())) {
        throw FileError(written < 0 ? errno : ENOSPC, "could not write", path);
    }
}

std::optional<pid_t> InstanceLock::holder(const std::filesystem::path& path) {
    const auto file = openLock(path, O_RDONLY);
    auto lock = wholeFile(F_WRLCK);
    if (!file || fcntl(file.get(), F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK || lock.l_pid <= 0) {
        return std::nullopt;
    }
    return lock.l_pid;
}

std::string InstanceLock::noteOfHolder(const std::filesystem::path& path) {
    // A lock that changes hands in between has a new process id: the note of another holder is not passed off as this
    // one's.
    const auto before = holder(path);
    if (!before) {
        return {};
    }
    const auto content = readWholeFile(path, maxContent);
    const auto lineEnd = content.find('\n');
    if (lineEnd == std::string::npos || content.substr(0, lineEnd) != std::to_string(*before)) {
        return {};
    }
    auto note = content.substr(lineEnd + 1);
    while (note.ends_with('\n')) {
        note.pop_back();
    }
    return note;
}

} // namespace tavo
