#include "system/ProcessExits.h"

#include "base/FileDescriptor.h"
#include "system/ProcessStart.h"
#include "system/SignalFreeThread.h"

#include <fcntl.h>
#include <sys/event.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

namespace tavo {

namespace {

[[noreturn]] void throwErrno() {
    throw std::system_error(errno, std::generic_category(), "could not watch processes");
}

FileDescriptor openQueue() {
    FileDescriptor queue(kqueue());
    if (!queue || fcntl(queue.get(), F_SETFD, FD_CLOEXEC) != 0) {
        throwErrno();
    }
    return queue;
}

/// Gives false when there is no such process.
bool add(const FileDescriptor& queue, uintptr_t ident, std::int16_t filter, std::uint32_t notes) {
    struct kevent change {};
    EV_SET(&change, ident, filter, EV_ADD | EV_CLEAR, notes, 0, nullptr);
    if (kevent(queue.get(), &change, 1, nullptr, 0, nullptr) == 0) {
        return true;
    }
    if (errno != ESRCH) {
        throwErrno();
    }
    return false;
}

/// Gives false when that process has ended.
bool addWatched(const FileDescriptor& queue, const WatchedProcess& process) {
    // The start is asked for when the kernel watches: if the process lives after that, the number was its own all the
    // while.
    return add(queue, static_cast<uintptr_t>(process.pid), EVFILT_PROC, NOTE_EXIT) &&
           (process.startTime ? processStart(process.pid) == process.startTime : processStart(process.pid).has_value());
}

class KqueueExitWatch final : public ProcessExitWatch {
public:
    KqueueExitWatch(FileDescriptor queue, std::vector<pid_t> processes, std::function<void()> observer)
        : queue(std::move(queue)), processes(std::move(processes)), observer(std::move(observer)) {
        add(this->queue, stopping, EVFILT_USER, 0);
        thread = startSignalFreeThread([this] { wait(); });
    }
    KqueueExitWatch(const KqueueExitWatch&) = delete;
    KqueueExitWatch& operator=(const KqueueExitWatch&) = delete;
    ~KqueueExitWatch() override {
        struct kevent change {};
        EV_SET(&change, stopping, EVFILT_USER, 0, NOTE_TRIGGER, 0, nullptr);
        kevent(queue.get(), &change, 1, nullptr, 0, nullptr);
        thread.join();
    }

private:
    static constexpr uintptr_t stopping = 0;

    void wait() {
        while (!processes.empty()) {
            struct kevent event {};
            const int count = kevent(queue.get(), nullptr, 0, &event, 1, nullptr);
            if ((count < 0 && errno != EINTR) || (count > 0 && event.filter == EVFILT_USER)) {
                return;
            }
            if (count > 0 && (event.fflags & NOTE_EXIT) != 0) {
                std::erase(processes, static_cast<pid_t>(event.ident));
            }
        }
        observer();
    }

    FileDescriptor queue;
    std::vector<pid_t> processes;
    std::function<void()> observer;
    std::thread thread;
};

} // namespace

std::unique_ptr<ProcessExitWatch> ProcessExits::watch(const std::vector<WatchedProcess>& processes,
                                                      std::function<void()> observer) {
    if (!isWatchable(processes)) {
        return nullptr;
    }
    auto queue = openQueue();
    std::vector<pid_t> living;
    for (const auto& process : processes) {
        if (addWatched(queue, process)) {
            living.push_back(process.pid);
        }
    }
    return std::make_unique<KqueueExitWatch>(std::move(queue), std::move(living), std::move(observer));
}

} // namespace tavo
