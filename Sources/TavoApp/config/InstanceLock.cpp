#include "config/InstanceLock.h"

#include "base/AtomicFile.h"
#include "base/TrustedPath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace tavo {

namespace {

struct flock wholeFile(short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

[[noreturn]] void throwErrno(const std::filesystem::path& path) {
    throw std::system_error(errno, std::generic_category(), "could not lock " + path.string());
}

} // namespace

std::optional<InstanceLock> InstanceLock::acquire(const std::filesystem::path& path, const std::string& note) {
    ensureDirectoryExists(path.parent_path());
    FileDescriptor file(open(trustedFile(path).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file) {
        throwErrno(path);
    }
    auto lock = wholeFile(F_WRLCK);
    if (fcntl(file.get(), F_SETLK, &lock) != 0) {
        if (errno == EACCES || errno == EAGAIN) {
            return std::nullopt;
        }
        throwErrno(path);
    }
    InstanceLock held(std::move(file), path);
    held.replaceNote(note);
    return held;
}

void InstanceLock::replaceNote(const std::string& note) const {
    const auto content = std::to_string(getpid()) + "\n" + (note.empty() ? "" : note + "\n");
    if (ftruncate(file.get(), 0) != 0 ||
        pwrite(file.get(), content.data(), content.size(), 0) != static_cast<ssize_t>(content.size())) {
        throwErrno(path);
    }
}

std::optional<pid_t> InstanceLock::holder(const std::filesystem::path& path) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
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
    const auto content = readWholeFile(path);
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
