#include "TavoPrivilegedHelper/linux/LoginPresence.h"

#include "system/linux/LogindClient.h"

#include <asio/posix/stream_descriptor.hpp>
#include <systemd/sd-login.h>

#include <chrono>
#include <cstdlib>
#include <utility>

namespace tavo {

namespace {

/// Until logind starts, there is nothing to watch.
constexpr std::chrono::seconds pauseWithoutLogind{5};

/// Everybody waits meanwhile.
constexpr std::chrono::milliseconds logindBound{500};

bool lingers(uid_t user) {
    try {
        return LogindClient(logindBound).lingers(user);
    } catch (const BusError&) {
        return false;
    }
}

} // namespace

bool isPresence(std::string_view state) {
    return state == "active" || state == "online" || state == "lingering";
}

bool isPresent(uid_t user) {
    char* text = nullptr;
    const int result = sd_uid_get_state(user, &text);
    const std::unique_ptr<char, decltype(&std::free)> state(text, std::free);
    if (result < 0 || !state) {
        return false;
    }
    // logind does not write the state down again once the last session of a lingering user has ended: on record the
    // user goes on closing it.
    return isPresence(state.get()) || (std::string_view(state.get()) == "closing" && lingers(user));
}

/// The loop waits on this. Its callbacks do nothing once it has gone.
class LoginWatch::Monitor {
public:
    Monitor(asio::io_context& loop, sd_login_monitor* monitor, const std::function<void()>& onChange)
        : monitor(monitor), readiness(loop, sd_login_monitor_get_fd(monitor)), onChange(onChange) {
        wait();
    }
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;
    ~Monitor() {
        readiness.cancel();
        readiness.release();
        sd_login_monitor_unref(monitor);
    }

private:
    void wait() {
        readiness.async_wait(asio::posix::stream_descriptor::wait_read,
                             [this, weakSelf = std::weak_ptr(alive)](const asio::error_code& error) {
                                 if (!error && !weakSelf.expired()) {
                                     // Before the states are read, so that a change meanwhile is reported again.
                                     sd_login_monitor_flush(monitor);
                                     wait();
                                     onChange();
                                 }
                             });
    }

    sd_login_monitor* monitor;
    asio::posix::stream_descriptor readiness;
    const std::function<void()>& onChange;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

LoginWatch::LoginWatch(asio::io_context& loop, std::function<void()> onChange)
    : loop(loop), onChange(std::move(onChange)) {
    begin();
}

LoginWatch::~LoginWatch() = default;

void LoginWatch::begin() {
    sd_login_monitor* made = nullptr;
    if (sd_login_monitor_new("uid", &made) >= 0) {
        monitor = std::make_unique<Monitor>(loop, made, onChange);
        return;
    }
    retry = std::make_unique<AsioTimer>(loop, pauseWithoutLogind, [this] {
        begin();
        onChange();
    });
}

} // namespace tavo
