// Changes that a file system refuses. They need mounts of the test's own, and so root.

#include "Support/TemporaryDirectory.h"
#include "base/AtomicFile.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <system_error>

namespace tavo {
namespace {

std::size_t entriesIn(const std::filesystem::path& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

/// Runs a piece of a test in a child with a mount namespace of its own. Gives the child's exit status.
template <typename Body>
int inOwnMountNamespace(Body body) {
    const auto child = fork();
    if (child == 0) {
        constexpr int noPrivilege = 77;
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            _exit(noPrivilege);
        }
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(AtomicFile, OnAFullDiskTheOldFileStaysWhole) {
    const TemporaryDirectory folder;
    const int status = inOwnMountNamespace([&] {
        if (mount("tmpfs", folder.path().c_str(), "tmpfs", 0, "size=16k,mode=0700") != 0) {
            return 1;
        }
        const auto path = folder.path() / "file";
        replaceFileAtomically(path, "old");
        try {
            replaceFileAtomically(path, std::string(std::size_t{1} << 20U, 'x'));
            return 2;
        } catch (const std::system_error& error) {
            if (error.code() != std::errc::no_space_on_device) {
                return 3;
            }
        }
        return fileContent(path) == "old" && entriesIn(folder.path()) == 1 ? 0 : 4;
    });
    if (status == 77) {
        GTEST_SKIP() << "needs root, to make a small file system";
    }
    EXPECT_EQ(status, 0);
}

TEST(AtomicFile, InAReadOnlyFolderTheOldFileStaysWhole) {
    const TemporaryDirectory folder;
    const int status = inOwnMountNamespace([&] {
        const auto path = folder.path() / "file";
        replaceFileAtomically(path, "old");
        const auto* name = folder.path().c_str();
        if (mount(name, name, nullptr, MS_BIND, nullptr) != 0 ||
            mount(nullptr, name, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0) {
            return 1;
        }
        try {
            replaceFileAtomically(path, "new");
            return 2;
        } catch (const std::system_error& error) {
            if (error.code() != std::errc::read_only_file_system) {
                return 3;
            }
        }
        return fileContent(path) == "old" && entriesIn(folder.path()) == 1 ? 0 : 4;
    });
    if (status == 77) {
        GTEST_SKIP() << "needs root, to make a folder read-only for root too";
    }
    EXPECT_EQ(status, 0);
}

} // namespace
} // namespace tavo
