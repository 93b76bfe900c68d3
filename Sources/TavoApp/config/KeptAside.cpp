#include "config/KeptAside.h"

#include "base/AtomicFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

/// A larger one is not worth a copy: it gets the other name alone.
constexpr std::size_t largestCopy = std::size_t{16} << 20U;

std::optional<std::string> contentOf(const std::filesystem::path& file) {
    try {
        return readWholeFile(file, largestCopy);
    } catch (const std::system_error&) {
        // Unreadable files can still be given another name.
        return std::nullopt;
    }
}

} // namespace

KeptAside::KeptAside(std::filesystem::path file, const std::filesystem::path& aside)
    : file(std::move(file)), name(aside) {
    for (int number = 2; !keepAs(name); ++number) {
        name = aside.string() + "." + std::to_string(number);
    }
}

KeptAside::~KeptAside() {
    if (isConfirmed) {
        return;
    }
    // Nothing more can be done when this fails, too: the content is there, under the one name or the other.
    [[maybe_unused]] const int undone = wasMoved ? rename(name.c_str(), file.c_str()) : unlink(name.c_str());
}

/// Says whether the name was free.
bool KeptAside::keepAs(const std::filesystem::path& candidate) {
    if (link(file.c_str(), candidate.c_str()) == 0) {
        return true;
    }
    if (errno == EEXIST) {
        // A save that was killed in between has kept it already.
        std::error_code ignored;
        return std::filesystem::equivalent(file, candidate, ignored) &&
               !std::filesystem::is_symlink(candidate, ignored);
    }
    // No second names for the files of others (the kernel's protected_hardlinks), on FAT, or on another file system.
    if (const auto content = contentOf(file)) {
        return createFile(candidate, *content);
    }
    return moveTo(candidate);
}

bool KeptAside::moveTo(const std::filesystem::path& candidate) {
    std::error_code ignored; // a file that cannot be examined cannot be moved either
    if (std::filesystem::is_directory(file, ignored)) {
        throwErrno(EISDIR, candidate);
    }
    // Only a name of our own may be replaced by the file.
    if (!createFile(candidate, "")) {
        return false;
    }
    if (rename(file.c_str(), candidate.c_str()) != 0) {
        const int error = errno;
        unlink(candidate.c_str());
        throwErrno(error, candidate);
    }
    wasMoved = true;
    return true;
}

void KeptAside::throwErrno(int error, const std::filesystem::path& candidate) const {
    throw std::system_error(error, std::generic_category(),
                            "could not keep " + file.string() + " as " + candidate.string());
}

} // namespace tavo
