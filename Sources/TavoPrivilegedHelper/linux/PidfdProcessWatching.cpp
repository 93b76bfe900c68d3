#include "TavoPrivilegedHelper/linux/PidfdProcessWatching.h"

#include "system/linux/ProcessDescriptor.h"

#include <asio/posix/stream_descriptor.hpp>

#include <utility>

namespace tavo {

namespace {

class PidfdWatch final : public ProcessWatch {
public:
    PidfdWatch(asio::io_context& loop, FileDescriptor process, std::function<void()> onExit)
        : process(std::move(process)), readiness(loop, this->process.get()) {
        // By value: the watch may go while the callback runs.
        readiness.async_wait(asio::posix::stream_descriptor::wait_read,
                             [onExit = std::move(onExit)](const asio::error_code& error) {
                                 if (error != asio::error::operation_aborted) {
                                     onExit();
                                 }
                             });
    }
    PidfdWatch(const PidfdWatch&) = delete;
    PidfdWatch& operator=(const PidfdWatch&) = delete;
    ~PidfdWatch() override {
        readiness.cancel();
        readiness.release(); // the descriptor has an owner already
    }

private:
    FileDescriptor process;
    asio::posix::stream_descriptor readiness;
};

} // namespace

std::optional<ProcessIdentity> PidfdProcessWatching::identify(pid_t pid) const {
    const auto startTicks = startTicksOf(pid);
    return startTicks ? std::optional(ProcessIdentity{pid, *startTicks}) : std::nullopt;
}

std::unique_ptr<ProcessWatch> PidfdProcessWatching::watchExit(const ProcessIdentity& process,
                                                              std::function<void()> onExit) {
    auto descriptor = openProcess(process.pid);
    // Asked after the descriptor was there, and while its process lives: the number is its own, then.
    if (!descriptor || startTicksOf(process.pid) != process.startTime || hasEnded(descriptor)) {
        return nullptr;
    }
    return std::make_unique<PidfdWatch>(loop, std::move(descriptor), std::move(onExit));
}

} // namespace tavo
