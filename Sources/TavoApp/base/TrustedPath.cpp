#include "base/TrustedPath.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <deque>
#include <optional>
#include <system_error>

namespace tavo {

namespace {

constexpr uid_t root = 0;
constexpr gid_t rootsGroup = 0; // "wheel" on macOS

constexpr const char* wayOut = "run tavo as the user who owns it, or name a folder of root's own with --root.";

bool isOpenToOthers(const struct stat& status) {
    return (status.st_mode & S_IWOTH) != 0 || ((status.st_mode & S_IWGRP) != 0 && status.st_gid != rootsGroup);
}

/// Follows a path step by step, as the kernel does, checking the owner at each step.
class RootsWay {
public:
    explicit RootsWay(const std::filesystem::path& path) : asked(path) {
        push(std::filesystem::absolute(path));
        enterFolder("/");
        while (!steps.empty()) {
            takeStep();
        }
    }

    /// The last folder on the way that exists, when it is the one asked for or the one that is to hold it.
    void requireNobodyElseWrites(const std::filesystem::path& folder) const {
        struct stat status {};
        if (stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && isOpenToOthers(status)) {
            throw UntrustedPathError::folderOpenToOthers(asked, folder);
        }
    }

    const std::filesystem::path& end() const { return current; }

private:
    void push(const std::filesystem::path& path) { steps.insert(steps.begin(), path.begin(), path.end()); }

    void takeStep() {
        const auto step = steps.front();
        steps.pop_front();
        if (step == "/") {
            current = "/";
        } else if (step == "..") {
            current = current.parent_path();
        } else if (!step.empty() && step != ".") {
            enter(current / step);
        }
    }

    void enter(const std::filesystem::path& next) {
        struct stat status {};
        if (lstat(next.c_str(), &status) != 0) {
            if (errno != ENOENT && errno != ENOTDIR) {
                throw std::system_error(errno, std::generic_category(), "could not look at " + next.string());
            }
            current = next;
        } else if (S_ISLNK(status.st_mode)) {
            follow(next, status);
        } else if (S_ISDIR(status.st_mode)) {
            enterFolder(next);
        } else {
            current = next;
        }
    }

    void enterFolder(const std::filesystem::path& folder) {
        struct stat status {};
        if (lstat(folder.c_str(), &status) != 0) {
            throw std::system_error(errno, std::generic_category(), "could not look at " + folder.string());
        }
        if (status.st_uid != root) {
            throw UntrustedPathError::folderOfAnother(asked, folder, status.st_uid);
        }
        if (isOpenToOthers(status) && (status.st_mode & S_ISVTX) == 0) {
            throw UntrustedPathError::folderOpenToOthers(asked, folder);
        }
        current = folder;
    }

    void follow(const std::filesystem::path& link, const struct stat& status) {
        constexpr int maxLinks = 40; // as many as the kernel follows
        if (status.st_uid != root) {
            throw UntrustedPathError::linkOfAnother(asked, link, status.st_uid);
        }
        if (++linksFollowed > maxLinks) {
            throw std::system_error(ELOOP, std::generic_category(), "could not follow " + link.string());
        }
        push(std::filesystem::read_symlink(link));
    }

    std::filesystem::path asked;
    std::filesystem::path current;
    std::deque<std::filesystem::path> steps;
    int linksFollowed = 0;
};

std::string refusal(const std::filesystem::path& path, const std::string& reason) {
    return fmt::format("root does not use {}, since {}: {}", path.string(), reason, wayOut);
}

} // namespace

UntrustedPathError UntrustedPathError::folderOfAnother(const std::filesystem::path& path,
                                                       const std::filesystem::path& folder, uid_t owner) {
    return UntrustedPathError(
        refusal(path, fmt::format("the folder {} belongs to another user (user id {})", folder.string(), owner)));
}

UntrustedPathError UntrustedPathError::folderOpenToOthers(const std::filesystem::path& path,
                                                          const std::filesystem::path& folder) {
    return UntrustedPathError(fmt::format("root does not use {}, since others may write to the folder {}: take that "
                                          "permission away, or name another folder of root's own with --root.",
                                          path.string(), folder.string()));
}

UntrustedPathError UntrustedPathError::linkOfAnother(const std::filesystem::path& path,
                                                     const std::filesystem::path& link, uid_t owner) {
    return UntrustedPathError(
        refusal(path, fmt::format("{} is a link of another user's (user id {})", link.string(), owner)));
}

std::filesystem::path trustedFile(const std::filesystem::path& path, uid_t user) {
    if (user != root) {
        return path;
    }
    const RootsWay way(path);
    way.requireNobodyElseWrites(way.end().parent_path());
    return way.end();
}

std::filesystem::path trustedFolder(const std::filesystem::path& path, uid_t user) {
    if (user != root) {
        return path;
    }
    const RootsWay way(path);
    way.requireNobodyElseWrites(way.end());
    return way.end();
}

} // namespace tavo
