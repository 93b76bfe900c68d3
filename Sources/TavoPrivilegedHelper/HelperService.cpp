#include "TavoPrivilegedHelper/HelperService.h"

#include "base/Text.h"
#include "helper/PrivilegedHelperCommandDispatcher.h"

#include <fmt/format.h>

namespace tavo {

namespace {

std::string nameOf(const HelperCaller& caller) {
    return fmt::format("process {} of user {}", caller.process.pid, caller.user);
}

/// Begins and ends overrides in one process's name.
class OwnedSleepController final : public PrivilegedSleepControlling {
public:
    OwnedSleepController(std::shared_ptr<OverrideKeeper> keeper, const HelperCaller& owner, BoundedLog& grants,
                         BoundedLog& refusals)
        : keeper(std::move(keeper)), owner(owner), grants(grants), refusals(refusals) {}

    bool isAvailable() const override { return true; }

    void setSleepDisabled(PMSetScope scope, bool disabled) override {
        try {
            if (disabled) {
                keeper->begin(owner.process, scope, owner.user);
            } else {
                keeper->end(owner.process, scope);
            }
        } catch (const std::exception& error) {
            refusals.write(
                visibleControls(fmt::format("{} {} for {}: {}", nameOf(owner),
                                            disabled ? "could not begin an override" : "could not end its override",
                                            rawValue(scope), error.what())));
            throw;
        }
        grants.write(fmt::format("{} {} for {}.", nameOf(owner), disabled ? "began an override" : "ended its override",
                                 rawValue(scope)));
    }

private:
    std::shared_ptr<OverrideKeeper> keeper;
    HelperCaller owner;
    BoundedLog& grants;
    BoundedLog& refusals;
};

} // namespace

HelperService::HelperService(std::shared_ptr<OverrideKeeper> keeper, Admission admission, std::function<void()> reset,
                             const Log& log, std::shared_ptr<TimeBudget> budget)
    : keeper(std::move(keeper)), admission(std::move(admission)), reset(std::move(reset)), budget(std::move(budget)),
      grants(std::make_shared<BoundedLog>(log)), removals(std::make_shared<BoundedLog>(log)),
      refusals(std::make_shared<BoundedLog>(log)) {}

std::string HelperService::notServed(uid_t user) {
    return fmt::format("the privileged helper does not serve this user (user id {}).", user);
}

std::optional<std::string> HelperService::refusal(uid_t user, pid_t process) const {
    constexpr uid_t root = 0;
    auto reason = user == root ? std::nullopt : admission(user);
    if (reason) {
        refusals->write(fmt::format("process {} of user {} was refused unread: {}", process, user, *reason));
    }
    return reason;
}

std::optional<std::string> HelperService::refusalOfLength(std::size_t length) {
    if (length <= maxBodySize) {
        return std::nullopt;
    }
    return fmt::format("a command of {} bytes is too long: {} are allowed.", length, maxBodySize);
}

PrivilegedHelperReply HelperService::serve(const HelperCaller& caller, std::string_view body) const {
    if (auto message = refusal(caller.user, caller.process.pid)) {
        return {std::nullopt, std::move(message)};
    }
    if (auto message = refusalOfLength(body.size())) {
        return {std::nullopt, std::move(message)};
    }
    std::optional<TimeBudget::Request> request;
    if (budget) {
        request.emplace(*budget);
    }
    const auto controller = std::make_shared<OwnedSleepController>(keeper, caller, *grants, *refusals);
    auto reply = PrivilegedHelperCommandDispatcher(controller, [&] { remove(caller); }).reply(body);
    if (reply.message) {
        refusals->write(
            visibleControls(fmt::format("{} was refused, it sent no command: {}", nameOf(caller), *reply.message)));
    }
    return reply;
}

void HelperService::remove(const HelperCaller& caller) const {
    try {
        reset();
    } catch (const std::exception& error) {
        removals->write(visibleControls(
            fmt::format("{} asked for the helper's removal, which failed: {}", nameOf(caller), error.what())));
        throw;
    }
    removals->write(fmt::format("{} has the helper removed.", nameOf(caller)));
}

void HelperService::endUnheard(const HelperCaller& caller, std::string_view body) const noexcept {
    try {
        const auto command = PrivilegedHelperCommand::decode(body);
        const auto* change = std::get_if<PrivilegedHelperCommand::SetSleepDisabled>(&command.value);
        if (change != nullptr && change->disabled) {
            keeper->end(caller.process, change->scope);
            grants->write(fmt::format("{} was gone before it heard of its override for {}, which has ended.",
                                      nameOf(caller), rawValue(change->scope)));
        }
    } catch (const std::exception&) {
        // The keeper itself tries a failed end again; a body that is no command has changed nothing.
    }
}

} // namespace tavo
