#include "TavoPrivilegedHelper/HelperService.h"

#include "helper/PrivilegedHelperCommandDispatcher.h"

#include <fmt/format.h>

namespace tavo {

namespace {

/// The setting as one process has it.
class OwnedSleepController final : public PrivilegedSleepControlling {
public:
    OwnedSleepController(std::shared_ptr<OverrideKeeper> keeper, const ProcessIdentity& owner)
        : keeper(std::move(keeper)), owner(owner) {}

    bool isAvailable() const override { return true; }

    void setSleepDisabled(PMSetScope scope, bool disabled) override {
        keeper->setSleepDisabled(owner, scope, disabled);
    }

private:
    std::shared_ptr<OverrideKeeper> keeper;
    ProcessIdentity owner;
};

} // namespace

std::optional<std::string> HelperService::refusal(uid_t user) const {
    if (user == 0 || isServed(user)) {
        return std::nullopt;
    }
    return fmt::format("the privileged helper does not serve this user (user id {}).", user);
}

PrivilegedHelperReply HelperService::serve(const HelperCaller& caller, std::string_view body) const {
    if (auto message = refusal(caller.user)) {
        return {std::nullopt, std::move(message)};
    }
    if (body.size() > longestBody) {
        return {std::nullopt,
                fmt::format("a command of {} bytes is too long: {} are allowed.", body.size(), longestBody)};
    }
    const auto controller = std::make_shared<OwnedSleepController>(keeper, caller.process);
    return PrivilegedHelperCommandDispatcher(controller, reset).reply(body);
}

void HelperService::takeBack(const HelperCaller& caller, std::string_view body) const noexcept {
    try {
        const auto command = PrivilegedHelperCommand::decode(body);
        const auto* change = std::get_if<PrivilegedHelperCommand::SetSleepDisabled>(&command.value);
        if (change != nullptr && change->disabled) {
            keeper->setSleepDisabled(caller.process, change->scope, false);
        }
    } catch (const std::exception&) {
        // The keeper tries what has failed again by itself; what is no command has changed nothing.
    }
}

} // namespace tavo
