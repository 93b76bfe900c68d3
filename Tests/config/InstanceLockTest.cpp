#include "config/InstanceLock.h"

#include "Support/TemporaryDirectory.h"
#include "base/ErrorText.h"
#include "base/FileError.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <system_error>

namespace tavo {
namespace {

/// A child that takes the lock, says so, and holds it until it is killed.
class HoldingChild {
public:
    /// @param laterNote  replaces the first note before it says so.
    explicit HoldingChild(const std::filesystem::path& path, const std::string& note = {},
                          const std::optional<std::string>& laterNote = {}) {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe(ends.data()), 0);
        pid = fork();
        if (pid == 0) {
            const auto lock = InstanceLock::acquire(path, note);
            const char answer = lock ? 'y' : 'n';
            if (lock && laterNote) {
                lock->replaceNote(*laterNote);
            }
            if (write(ends[1], &answer, 1) != 1) {
                _exit(1);
            }
            for (;;) {
                pause();
            }
        }
        close(ends[1]);
        char answer = 0;
        holds = read(ends[0], &answer, 1) == 1 && answer == 'y';
        close(ends[0]);
    }
    HoldingChild(const HoldingChild&) = delete;
    HoldingChild& operator=(const HoldingChild&) = delete;
    ~HoldingChild() { end(); }

    void end() {
        if (pid > 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
            pid = -1;
        }
    }

    pid_t pid = -1;
    bool holds = false;
};

TEST(InstanceLock, NobodyHoldsALockThatWasNeverTaken) {
    const TemporaryDirectory folder;
    EXPECT_EQ(InstanceLock::holder(folder.path() / "tavo.lock"), std::nullopt);
    folder.write("tavo.lock", "1\n");
    EXPECT_EQ(InstanceLock::holder(folder.path() / "tavo.lock"), std::nullopt);
}

TEST(InstanceLock, TheKernelTellsWhoHoldsIt) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "below" / "tavo.lock";
    const HoldingChild child(path);
    ASSERT_TRUE(child.holds);
    EXPECT_EQ(InstanceLock::holder(path), child.pid);
    EXPECT_EQ(fileContent(path), std::to_string(child.pid) + "\n");
}

TEST(InstanceLock, ANoteIsReadForAsLongAsItsWriterHoldsTheLock) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "tavo.lock";
    HoldingChild child(path, R"({"note": 1})");
    EXPECT_EQ(InstanceLock::noteOfHolder(path), R"({"note": 1})");
    child.end();
    EXPECT_EQ(InstanceLock::noteOfHolder(path), "");
    const HoldingChild silent(path);
    EXPECT_EQ(InstanceLock::noteOfHolder(path), "");
}

TEST(InstanceLock, ASecondProcessDoesNotGetIt) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "tavo.lock";
    const HoldingChild first(path);
    EXPECT_FALSE(InstanceLock::acquire(path).has_value());
    EXPECT_EQ(InstanceLock::holder(path), first.pid);
    EXPECT_EQ(fileContent(path), std::to_string(first.pid) + "\n");
}

TEST(InstanceLock, TheLockOfAKilledProcessBlocksNobody) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "tavo.lock";
    HoldingChild first(path);
    ASSERT_TRUE(first.holds);
    first.end();
    EXPECT_EQ(InstanceLock::holder(path), std::nullopt);
    const HoldingChild second(path);
    EXPECT_TRUE(second.holds);
    EXPECT_EQ(InstanceLock::holder(path), second.pid);
}

TEST(InstanceLock, ANoteOfAnotherHolderIsNotPassedOffAsItsOwn) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "tavo.lock";
    const HoldingChild child(path, "its own");
    for (const auto& content : {std::to_string(getpid()) + "\nanother's\n", std::to_string(child.pid),
                                "1" + std::to_string(child.pid) + "\nanother's\n", std::string()}) {
        folder.write("tavo.lock", content); // the very file, so that it stays locked
        ASSERT_EQ(InstanceLock::holder(path), child.pid);
        EXPECT_EQ(InstanceLock::noteOfHolder(path), "") << content;
    }
    folder.write("tavo.lock", std::to_string(child.pid) + "\nof two\nlines\n\n");
    EXPECT_EQ(InstanceLock::noteOfHolder(path), "of two\nlines");
}

TEST(InstanceLock, ItsFileIsTheUsersAloneAndWithoutANoteHoldsTheProcessIDAlone) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "tavo.lock";
    const HoldingChild child(path);
    ASSERT_TRUE(child.holds);
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
}

TEST(InstanceLock, AFileThatCannotBeOpenedIsNamed) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "tavo.lock";
    std::filesystem::create_directory(path);
    try {
        InstanceLock::acquire(path);
        FAIL() << "a folder was locked";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::is_a_directory);
        EXPECT_EQ(std::string(error.what()).find("could not lock " + path.string()), 0U) << error.what();
    }
}

TEST(InstanceLock, ANoteIsReplacedWhileTheLockIsHeld) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "tavo.lock";
    for (const std::string later : {"", "short", "longer than the first one"}) {
        HoldingChild child(path, "the first note", later);
        ASSERT_TRUE(child.holds);
        EXPECT_EQ(InstanceLock::noteOfHolder(path), later);
        EXPECT_EQ(InstanceLock::holder(path), child.pid);
    }
}

TEST(InstanceLock, WhatIsNoFileIsNamedAndBlocksNobody) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "tavo.lock";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(InstanceLock::holder(path), std::nullopt);
    EXPECT_EQ(InstanceLock::noteOfHolder(path), "");
    try {
        InstanceLock::acquire(path);
        FAIL() << "a pipe was locked";
    } catch (const FileError& error) {
        EXPECT_EQ(errorText(error),
                  "could not lock " + path.string() + ", which is a pipe and not a file; move it away.");
    }
}

TEST(InstanceLock, IsHeldThoughItsNoteCannotBeWritten) {
    const TemporaryDirectory folder;
    const auto path = folder.path() / "tavo.lock";
    const auto child = fork();
    if (child == 0) {
        // Nothing may be written any more, as on a full disk.
        std::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit { 0, 0 };
        setrlimit(RLIMIT_FSIZE, &limit);
        const auto lock = InstanceLock::acquire(path, "note");
        _exit(lock && std::filesystem::file_size(path) == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

} // namespace
} // namespace tavo
