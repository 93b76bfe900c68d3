#include "system/linux/ProcfsProcessSnapshotProvider.h"

#include "base/FileDescriptor.h"
#include "system/linux/ProcfsText.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

[[noreturn]] void throwSystemError(int error, const std::string& what) {
    throw std::system_error(error, std::generic_category(), what);
}

bool isProcessID(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char unit) { return unit >= '0' && unit <= '9'; });
}

/// Reads the files of one table after the other into buffers that keep their size.
class TableReader {
public:
    explicit TableReader(const std::string& root) : root(root), folder(opendir(root.c_str())) {
        if (!folder) {
            throwSystemError(errno, "could not open the process table " + root);
        }
        stat.resize(initialSize);
        cmdline.resize(initialSize);
    }

    /// The name of the next process's folder; nothing at the end of the table.
    std::optional<std::string_view> nextProcess() {
        while (true) {
            errno = 0;
            const auto* entry = readdir(folder.get()); // NOLINT(concurrency-mt-unsafe): the folder is this object's own
            if (entry == nullptr) {
                if (errno != 0) {
                    throwSystemError(errno, "could not read the process table " + root);
                }
                return std::nullopt;
            }
            const std::string_view name(static_cast<const char*>(entry->d_name));
            if (isProcessID(name)) {
                return name;
            }
        }
    }

    /// Nothing for a process that has ended (reaped or not), is hidden or cannot be understood.
    std::optional<ProcessSample> read(std::string_view process, double ticksPerSecond) {
        const auto statLength = readFile(process, "/stat", stat);
        const auto parsed = statLength ? parseProcfsStat({stat.data(), *statLength}) : std::nullopt;
        if (!parsed || parsed->hasEnded()) {
            return std::nullopt;
        }
        auto cmdlineLength =
            parsed->isLeaderGone() ? readArgumentsOfThreads(process) : readFile(process, "/cmdline", cmdline);
        if (!cmdlineLength) {
            if (lastError == ENOENT || lastError == ESRCH) {
                return std::nullopt;
            }
            cmdlineLength = 0;
        }
        const std::string_view arguments(cmdline.data(), *cmdlineLength);
        const auto name = texts.keep(procfsExecutableName(parsed->name, arguments, buffer));
        const auto commandLine = procfsCommandLine(arguments, buffer);
        return ProcessSample{.pid = parsed->pid,
                             .parentPID = parsed->parentPID,
                             .cpuTimeSeconds =
                                 (static_cast<double>(parsed->userTicks) + static_cast<double>(parsed->systemTicks)) /
                                 ticksPerSecond,
                             .executableName = name,
                             .commandLine = commandLine.empty() ? name : texts.keep(commandLine),
                             .startTime = procfsStartTicks({stat.data(), *statLength})};
    }

private:
    static constexpr std::size_t initialSize = 4096;

    /// Like readFile(). The arguments have gone with the first thread; those that still run show them.
    std::optional<std::size_t> readArgumentsOfThreads(std::string_view process) {
        const auto tasks = std::string(process) + "/task/";
        const Folder threads(opendir((root + "/" + tasks).c_str()));
        if (!threads) {
            return fail(errno);
        }
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the folder is this call's own
        while (const auto* entry = readdir(threads.get())) {
            const std::string thread(static_cast<const char*>(entry->d_name));
            const auto length = isProcessID(thread) ? readFile(tasks + thread, "/cmdline", cmdline) : std::nullopt;
            if (length.value_or(0) > 0) {
                return length;
            }
        }
        return 0;
    }

    /// The length of the whole file; nothing when it cannot be read, and why in lastError.
    std::optional<std::size_t> readFile(std::string_view process, std::string_view file, std::string& buffer) {
        path.assign(process).append(file);
        const FileDescriptor descriptor(openat(dirfd(folder.get()), path.c_str(), O_RDONLY | O_CLOEXEC));
        if (!descriptor) {
            return fail(errno);
        }
        std::size_t length = 0;
        while (true) {
            if (length == buffer.size()) {
                buffer.resize(2 * buffer.size());
            }
            const auto space = buffer.size() - length;
            const auto count = ::read(descriptor.get(), buffer.data() + length, space);
            if (count >= 0) {
                length += static_cast<std::size_t>(count);
                if (static_cast<std::size_t>(count) < space) {
                    return length; // procfs gives less than was asked for at the end alone
                }
            } else if (errno != EINTR) {
                return fail(errno);
            }
        }
    }

    std::nullopt_t fail(int error) {
        if (error == EMFILE || error == ENFILE || error == ENOMEM) {
            throwSystemError(error, "could not read the process table " + root);
        }
        lastError = error;
        return std::nullopt;
    }

    std::string root;
    Folder folder;
    std::string path;
    std::string stat;
    std::string cmdline;
    std::string buffer;
    TextKeeper texts;
    int lastError = 0;
};

} // namespace

ProcfsProcessSnapshotProvider::ProcfsProcessSnapshotProvider(std::filesystem::path root) : root(std::move(root)) {}

ProcessSnapshot ProcfsProcessSnapshotProvider::snapshot(TimePoint at) {
    ProcessSnapshot snapshot{.capturedAt = at, .processes = {}};
    const auto ticksPerSecond = static_cast<double>(sysconf(_SC_CLK_TCK));
    TableReader table(root.string());
    while (const auto process = table.nextProcess()) {
        if (auto sample = table.read(*process, ticksPerSecond)) {
            snapshot.processes.push_back(std::move(*sample));
        }
    }
    return snapshot;
}

} // namespace tavo
