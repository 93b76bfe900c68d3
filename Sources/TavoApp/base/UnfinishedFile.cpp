#include "base/UnfinishedFile.h"

#include "base/FileError.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace tavo {

namespace {

namespace fs = std::filesystem;

/// No word that somebody would give to a copy of a configuration.
constexpr std::string_view suffix = ".unfinished-";
constexpr std::string_view randomPart = "XXXXXX"; // for mkostemp

/// Whether it is one of `place` itself, or of a file such as "config.json.edited".
bool isUnfinishedName(std::string_view name, std::string_view place) {
    if (!name.starts_with(place) || name.size() < place.size() + suffix.size() + randomPart.size()) {
        return false;
    }
    const auto random = name.substr(name.size() - randomPart.size());
    const auto before = name.substr(0, name.size() - randomPart.size());
    const auto between = before.substr(place.size());
    return before.ends_with(suffix) && between.starts_with('.') &&
           std::all_of(random.begin(), random.end(),
                       [](char character) { return std::isalnum(static_cast<unsigned char>(character)) != 0; });
}

/// Root finds only root's own files here, and those that root was about to leave to their owner, see trustedFile().
bool isOwn(const struct stat& status) {
    return S_ISREG(status.st_mode) && (geteuid() == 0 || status.st_uid == geteuid());
}

/// A file that cannot be opened or locked stays: it may be in use, and another attempt will come.
void removeIfAbandoned(const fs::path& path) {
    const FileDescriptor file(open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (file && fstat(file.get(), &status) == 0 && isOwn(status) && flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
        unlink(path.c_str());
    }
}

void removeAbandoned(const fs::path& place) {
    const auto name = place.filename().string();
    std::error_code ignored; // a folder that cannot be listed shows its problem when the file is made
    for (fs::directory_iterator entry(place.parent_path(), ignored), end; !ignored && entry != end;
         entry.increment(ignored)) {
        if (isUnfinishedName(entry->path().filename().string(), name)) {
            removeIfAbandoned(entry->path());
        }
    }
}

/// Makes the rename last through a power cut. A file system that cannot flush a folder has done its best already.
void flushFolder(const fs::path& folder) {
    const FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor) {
        fsync(descriptor.get());
    }
}

} // namespace

UnfinishedFile::UnfinishedFile(const fs::path& place) : place(place) {
    removeAbandoned(place);
    do {
        name = place.string() + std::string(suffix) + std::string(randomPart);
        file = FileDescriptor(mkostemp(name.data(), O_CLOEXEC));
        if (!file) {
            throw FileError(errno, errno == ENOENT ? "there is no folder for" : "could not write", place);
        }
    } while (!isNameOurs());
}

/// Another writer may have taken the new file for one that was left, before it was locked.
bool UnfinishedFile::isNameOurs() const {
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        // Without locks on this file system nobody removes it either.
        return errno != EWOULDBLOCK;
    }
    struct stat status {};
    return fstat(file.get(), &status) != 0 || status.st_nlink > 0;
}

UnfinishedFile::~UnfinishedFile() {
    if (!isMoved) {
        unlink(name.c_str());
    }
}

void UnfinishedFile::write(std::string_view content) const {
    while (!content.empty()) {
        const auto written = ::write(file.get(), content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            throw FileError(errno, "could not write", place);
        }
        content.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
}

void UnfinishedFile::flush() const {
    if (fsync(file.get()) != 0) {
        throw FileError(errno, "could not flush to the disk", place);
    }
}

void UnfinishedFile::moveIntoPlace() {
    if (rename(name.c_str(), place.c_str()) != 0) {
        throw FileError(errno, "could not replace", place);
    }
    isMoved = true;
    flushFolder(place.parent_path());
}

bool UnfinishedFile::linkIntoPlace() {
    if (link(name.c_str(), place.c_str()) == 0) {
        flushFolder(place.parent_path());
        return true;
    }
    if (errno == EEXIST) {
        return false;
    }
    // No second names on FAT: an empty file reserves the name.
    const FileDescriptor reserved(open(place.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!reserved && errno == EEXIST) {
        return false;
    }
    if (!reserved) {
        throw FileError(errno, "could not write", place);
    }
    try {
        moveIntoPlace();
    } catch (...) {
        unlink(place.c_str());
        throw;
    }
    return true;
}

} // namespace tavo
