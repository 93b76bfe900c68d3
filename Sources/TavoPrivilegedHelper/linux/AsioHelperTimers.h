#pragma once

#include "TavoPrivilegedHelper/HelperTimers.h"

#include <asio/io_context.hpp>

namespace tavo {

class AsioHelperTimers final : public HelperTimers {
public:
    explicit AsioHelperTimers(asio::io_context& loop) : loop(loop) {}

    std::unique_ptr<HelperTimer> start(std::chrono::milliseconds delay, std::function<void()> work) override;

private:
    asio::io_context& loop;
};

} // namespace tavo
