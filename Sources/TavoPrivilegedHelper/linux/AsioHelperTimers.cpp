#include "TavoPrivilegedHelper/linux/AsioHelperTimers.h"

#include <asio/steady_timer.hpp>

#include <utility>

namespace tavo {

namespace {

class AsioHelperTimer final : public HelperTimer {
public:
    AsioHelperTimer(asio::io_context& loop, std::chrono::milliseconds delay, std::function<void()> work)
        : timer(loop, delay) {
        timer.async_wait([weakSelf = std::weak_ptr(alive), work = std::move(work)](const asio::error_code& error) {
            // A timer that was due already cannot be cancelled any more.
            if (!error && !weakSelf.expired()) {
                work();
            }
        });
    }

private:
    asio::steady_timer timer;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

} // namespace

std::unique_ptr<HelperTimer> AsioHelperTimers::start(std::chrono::milliseconds delay, std::function<void()> work) {
    return std::make_unique<AsioHelperTimer>(loop, delay, std::move(work));
}

} // namespace tavo
