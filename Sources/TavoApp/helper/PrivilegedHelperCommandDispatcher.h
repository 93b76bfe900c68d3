#pragma once

#include "helper/PrivilegedHelperMessages.h"
#include "helper/PrivilegedSleepControlling.h"

#include <functional>
#include <memory>
#include <string_view>

namespace tavo {

/// Carries out commands inside the helper. Every failure becomes a response: the helper always has one to give.
class PrivilegedHelperCommandDispatcher {
public:
    /// @param resetHandler  has the helper removed, or throws.
    PrivilegedHelperCommandDispatcher(std::shared_ptr<PrivilegedSleepControlling> sleepController,
                                      std::function<void()> resetHandler)
        : sleepController(std::move(sleepController)), resetHandler(std::move(resetHandler)) {}

    /// Does not ask whether the sleep controller is available: the controller refuses by itself.
    PrivilegedHelperResponse handle(const PrivilegedHelperCommand& command) const noexcept;

    /// Handles an encoded command from outside. Gives the encoded response, or a message when it is no command.
    PrivilegedHelperReply reply(std::string_view body) const noexcept;

private:
    std::shared_ptr<PrivilegedSleepControlling> sleepController;
    std::function<void()> resetHandler;
};

} // namespace tavo
