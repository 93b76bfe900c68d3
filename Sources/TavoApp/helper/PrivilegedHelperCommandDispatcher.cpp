#include "helper/PrivilegedHelperCommandDispatcher.h"

namespace tavo {

namespace {

struct Handler {
    PrivilegedSleepControlling& sleepController;
    const std::function<void()>& resetHandler;

    PrivilegedHelperResponse operator()(const PrivilegedHelperCommand::Ping&) const {
        return PrivilegedHelperResponse::pong();
    }

    PrivilegedHelperResponse operator()(const PrivilegedHelperCommand::SetSleepDisabled& command) const {
        sleepController.setSleepDisabled(command.scope, command.disabled);
        return PrivilegedHelperResponse::ok();
    }

    PrivilegedHelperResponse operator()(const PrivilegedHelperCommand::ResetSupport&) const {
        resetHandler();
        return PrivilegedHelperResponse::ok();
    }
};

} // namespace

PrivilegedHelperResponse
PrivilegedHelperCommandDispatcher::handle(const PrivilegedHelperCommand& command) const noexcept {
    try {
        return std::visit(Handler{*sleepController, resetHandler}, command.value);
    } catch (const std::exception& error) {
        return PrivilegedHelperResponse::error(error.what());
    } catch (...) {
        return PrivilegedHelperResponse::error("the privileged helper failed for an unknown reason.");
    }
}

PrivilegedHelperReply PrivilegedHelperCommandDispatcher::reply(std::string_view body) const noexcept {
    try {
        return {.data = handle(PrivilegedHelperCommand::decode(body)).encoded(), .message = {}};
    } catch (const std::exception& error) {
        return {.data = {}, .message = error.what()};
    }
}

} // namespace tavo
