#pragma once

#include "base/DescribedError.h"

#include <sys/types.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

namespace tavo {

/// There is no folder in which the user's settings could be kept.
class CocoaPathsError final : public DescribedError {
public:
    static CocoaPathsError missingApplicationSupportDirectory() {
        return CocoaPathsError("could not resolve the application support directory.");
    }

private:
    using DescribedError::DescribedError;
};

/// Finds the user's folders. Stands behind an interface so that a test can take them away.
struct UserDirectoriesProviding {
    virtual ~UserDirectoriesProviding() = default;

    /// The folders for the files of applications, the preferred one first; empty when there is none.
    virtual std::vector<std::filesystem::path> applicationSupportDirectories() const = 0;

    /// Empty when the system knows none.
    virtual std::filesystem::path homeDirectory() const = 0;
};

/// The folders as this system has them.
///
/// Linux: `$XDG_CONFIG_HOME` when it is an absolute path, else ".config" in the home directory (the XDG base
/// directories of freedesktop.org). macOS: "Library/Application Support" in the home directory. The home directory is
/// `$HOME` when it is an absolute path, else the user database's, getpwuid(3). Root's are those of root's account,
/// whatever the environment says: sudo and su may leave another user's there, and root has no business in that user's
/// folders.
class SystemUserDirectories final : public UserDirectoriesProviding {
public:
    explicit SystemUserDirectories(uid_t user = geteuid()) : user(user) {}

    std::vector<std::filesystem::path> applicationSupportDirectories() const override;
    std::filesystem::path homeDirectory() const override;

private:
    bool obeysEnvironment() const { return user != 0; }

    uid_t user;
};

/// Where Tavo keeps its files.
struct TavoPaths {
    std::filesystem::path rootDirectory;

    bool operator==(const TavoPaths&) const = default;

    /// The folder "Tavo" among the user's application support files. It is not created here.
    /// @throws CocoaPathsError when the system knows no such folder.
    static TavoPaths defaultPaths(const UserDirectoriesProviding& directories = SystemUserDirectories());

    std::filesystem::path configURL() const { return rootDirectory / "config.json"; }
    std::filesystem::path stateURL() const { return rootDirectory / "state.json"; }

    /// When this computer was kept awake, see HistoryFile.
    std::filesystem::path historyURL() const { return rootDirectory / "history.jsonl"; }

    /// Held locked by the one Tavo of a user, see InstanceLock.
    std::filesystem::path lockURL() const { return rootDirectory / "tavo.lock"; }

    /// The login agent's property list; independent of the root directory.
    static std::filesystem::path launchAgentURL(const UserDirectoriesProviding& directories = SystemUserDirectories());
};

} // namespace tavo
