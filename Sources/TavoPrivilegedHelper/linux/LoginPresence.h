#pragma once

#include "system/AsioTimer.h"

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string_view>

namespace tavo {

/// Whether a user in this state of sd_uid_get_state(3) is there: logged in, at the seat or not, or lingering, which
/// allows programs without a session. One whose last session is just ending is not.
bool isPresence(std::string_view state);

/// Whether this user is there by the word of logind, which also counts one who lingers as such. False when logind does not answer.
bool isPresent(uid_t user);

/// Tells when users come and go, sd-login(3).
class LoginWatch {
public:
    /// Calls `onChange` from the loop whenever the presence of any user may have changed, never before this returns.
    LoginWatch(asio::io_context& loop, std::function<void()> onChange);
    LoginWatch(const LoginWatch&) = delete;
    LoginWatch& operator=(const LoginWatch&) = delete;
    ~LoginWatch();

private:
    class Monitor;

    void begin();

    asio::io_context& loop;
    std::function<void()> onChange;
    std::unique_ptr<Monitor> monitor;
    std::unique_ptr<AsioTimer> retry;
};

} // namespace tavo
