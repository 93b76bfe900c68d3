#include "TavoPrivilegedHelper/linux/PidfdProcessWatching.h"

#include "system/AsioTimer.h"
#include "system/linux/ProcessDescriptor.h"

#include <asio/posix/stream_descriptor.hpp>

#include <chrono>
#include <optional>
#include <utility>

namespace tavo {

namespace {

/// Before a wait that the event loop refused is tried again.
constexpr std::chrono::seconds pauseAfterRefusal{1};

class PidfdWatch final : public ProcessWatch {
public:
    PidfdWatch(asio::io_context& loop, FileDescriptor process, std::function<void()> onExit)
        : loop(loop), process(std::move(process)), onExit(std::move(onExit)), readiness(loop, this->process.get()) {
        waitForReadiness();
    }
    PidfdWatch(const PidfdWatch&) = delete;
    PidfdWatch& operator=(const PidfdWatch&) = delete;
    ~PidfdWatch() override {
        readiness.cancel();
        readiness.release(); // the descriptor has an owner already
    }

private:
    void waitForReadiness() {
        readiness.async_wait(asio::posix::stream_descriptor::wait_read,
                             [this, weakSelf = std::weak_ptr(alive)](const asio::error_code& error) {
                                 if (!weakSelf.expired()) {
                                     handleReadiness(error);
                                 }
                             });
    }

    /// Under heavy closing and opening, asio completes waits with an event of the descriptor that its bookkeeping entry
    /// served before. Only the process's own descriptor says whether it has ended.
    void handleReadiness(const asio::error_code& error) {
        if (hasEnded(process)) {
            const auto tell = std::move(onExit); // the watch may go meanwhile
            tell();
        } else if (error) {
            pause.emplace(loop, pauseAfterRefusal, [this] { waitForReadiness(); });
        } else {
            waitForReadiness();
        }
    }

    asio::io_context& loop;
    FileDescriptor process;
    std::function<void()> onExit;
    asio::posix::stream_descriptor readiness;
    std::optional<AsioTimer> pause;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

} // namespace

std::optional<ProcessIdentity> PidfdProcessWatching::identify(pid_t pid) const {
    const auto startTicks = startTicksOf(pid);
    return startTicks ? std::optional(ProcessIdentity{pid, *startTicks}) : std::nullopt;
}

std::unique_ptr<ProcessWatch> PidfdProcessWatching::watchExit(const ProcessIdentity& process,
                                                              std::function<void()> onExit) {
    auto descriptor = openProcess(process.pid);
    // Asked once the descriptor is there, and while its process lives: then the number is its own.
    if (!descriptor || startTicksOf(process.pid) != process.startTime || hasEnded(descriptor)) {
        return nullptr;
    }
    return std::make_unique<PidfdWatch>(loop, std::move(descriptor), std::move(onExit));
}

} // namespace tavo
