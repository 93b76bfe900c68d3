#pragma once

#include "helper/ProcessWatching.h"

#include <asio/io_context.hpp>

namespace tavo {

/// Watches processes by descriptor, pidfd_open(2), in an event loop.
class PidfdProcessWatching final : public ProcessWatching {
public:
    explicit PidfdProcessWatching(asio::io_context& loop) : loop(loop) {}

    std::optional<ProcessIdentity> identify(pid_t pid) const override;
    std::unique_ptr<ProcessWatch> watchExit(const ProcessIdentity& process, std::function<void()> onExit) override;

private:
    asio::io_context& loop;
};

} // namespace tavo
