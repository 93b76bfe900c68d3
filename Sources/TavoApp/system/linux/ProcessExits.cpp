#include "system/ProcessExits.h"

#include "system/SignalFreeThread.h"
#include "system/linux/ProcessDescriptor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

namespace tavo {

namespace {

/// The lock's child, the process table and the bus need theirs.
constexpr rlim_t sparedDescriptors = 64;

/// The lowest free number is given out first, so a high one means that few are left.
bool areDescriptorsScarce(const FileDescriptor& latest) {
    struct rlimit limit {};
    return getrlimit(RLIMIT_NOFILE, &limit) == 0 &&
           static_cast<rlim_t>(latest.get()) + sparedDescriptors >= limit.rlim_cur;
}

/// Holds nothing when that process has ended.
FileDescriptor openWatched(const WatchedProcess& watched) {
    auto process = openProcess(watched.pid);
    // Asked when the descriptor is there: if the process lives after that, the number was its own all the while.
    const bool isAnother = process && watched.startTime && startTicksOf(watched.pid) != watched.startTime;
    return isAnother || !process || hasEnded(process) ? FileDescriptor() : std::move(process);
}

class PidfdExitWatch final : public ProcessExitWatch {
public:
    PidfdExitWatch(std::vector<FileDescriptor> processes, std::function<void()> observer)
        : processes(std::move(processes)), observer(std::move(observer)), stopping(eventfd(0, EFD_CLOEXEC)) {
        if (!stopping) {
            throw std::system_error(errno, std::generic_category(), "could not watch processes");
        }
        thread = startSignalFreeThread([this] { wait(); });
    }
    PidfdExitWatch(const PidfdExitWatch&) = delete;
    PidfdExitWatch& operator=(const PidfdExitWatch&) = delete;
    ~PidfdExitWatch() override {
        const std::uint64_t one = 1;
        // Eight bytes into a fresh counter: there is nothing that could fail or be interrupted.
        [[maybe_unused]] const auto written = write(stopping.get(), &one, sizeof one);
        thread.join();
    }

private:
    void wait() {
        while (!processes.empty()) {
            std::vector<pollfd> waited{{.fd = stopping.get(), .events = POLLIN, .revents = 0}};
            for (const auto& process : processes) {
                waited.push_back({.fd = process.get(), .events = POLLIN, .revents = 0});
            }
            const int count = poll(waited.data(), waited.size(), -1);
            if ((count < 0 && errno != EINTR) || (count > 0 && waited.front().revents != 0)) {
                return;
            }
            std::erase_if(processes, [](const auto& process) { return hasEnded(process); });
        }
        observer();
    }

    std::vector<FileDescriptor> processes;
    std::function<void()> observer;
    FileDescriptor stopping;
    std::thread thread;
};

} // namespace

std::unique_ptr<ProcessExitWatch> ProcessExits::watch(const std::vector<WatchedProcess>& processes,
                                                      std::function<void()> observer) {
    if (!isWatchable(processes)) {
        return nullptr;
    }
    std::vector<FileDescriptor> living;
    for (const auto& process : processes) {
        if (auto opened = openWatched(process)) {
            if (areDescriptorsScarce(opened)) {
                return nullptr;
            }
            living.push_back(std::move(opened));
        }
    }
    return std::make_unique<PidfdExitWatch>(std::move(living), std::move(observer));
}

} // namespace tavo
