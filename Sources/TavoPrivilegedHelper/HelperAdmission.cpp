#include "TavoPrivilegedHelper/HelperAdmission.h"

#include <utility>

namespace tavo {

HelperVisit::~HelperVisit() {
    end();
}

std::optional<PrivilegedHelperReply> HelperVisit::receive(std::size_t length) {
    const std::lock_guard lock(mutex);
    if (!caller) {
        return PrivilegedHelperReply{std::nullopt, refusal};
    }
    if (state != State::open) {
        return PrivilegedHelperReply{std::nullopt, "the privileged helper takes one command over each connection."};
    }
    if (auto tooLong = HelperService::refusalOfLength(length)) {
        return PrivilegedHelperReply{std::nullopt, std::move(tooLong)};
    }
    state = State::serving;
    return std::nullopt;
}

PrivilegedHelperReply HelperVisit::serve(std::string_view body) {
    // It has waited too long behind others: nobody would hear what was done in its name.
    PrivilegedHelperReply answer{std::nullopt, "the caller has hung up."};
    if (!hasHungUp()) {
        answer = admission->service->serve(*caller, body);
        if (hasHungUp()) {
            admission->service->endUnheard(*caller, body);
        }
    }
    const std::lock_guard lock(mutex);
    state = State::over;
    return answer;
}

void HelperVisit::end() noexcept {
    const std::lock_guard lock(mutex);
    if (!std::exchange(hasEnded, true)) {
        admission->releasePlace(isServed);
    }
}

bool HelperVisit::retire() {
    const std::lock_guard lock(mutex);
    if (state == State::serving) {
        return false;
    }
    state = State::over;
    return true;
}

bool HelperVisit::hasHungUp() const {
    const std::lock_guard lock(mutex);
    return hasEnded;
}

std::shared_ptr<HelperAdmission> HelperAdmission::make(std::shared_ptr<const HelperService> service,
                                                       std::shared_ptr<const ProcessWatching> processes,
                                                       Limits limits) {
    return std::shared_ptr<HelperAdmission>(new HelperAdmission(std::move(service), std::move(processes), limits));
}

std::shared_ptr<HelperAdmission> HelperAdmission::make(std::shared_ptr<const HelperService> service,
                                                       std::shared_ptr<const ProcessWatching> processes) {
    return make(std::move(service), std::move(processes), Limits());
}

std::shared_ptr<HelperVisit> HelperAdmission::admit(uid_t user, pid_t process) {
    auto refusal = service->refusal(user, process);
    const bool isServed = !refusal;
    if (!takePlace(isServed)) {
        return nullptr;
    }
    const std::shared_ptr<HelperVisit> visit(new HelperVisit(shared_from_this(), isServed));
    if (refusal) {
        visit->refusal = std::move(*refusal);
        return visit;
    }
    // Now, and not when a command comes: until then the process may end, and its number become another's.
    if (const auto identity = processes->identify(process)) {
        visit->caller = HelperCaller{user, *identity};
    } else {
        visit->refusal = "the process that asked the privileged helper has ended.";
    }
    return visit;
}

bool HelperAdmission::takePlace(bool isServed) {
    const std::lock_guard lock(mutex);
    auto& count = isServed ? served : refused;
    if (count >= (isServed ? limits.served : limits.refused)) {
        return false;
    }
    ++count;
    return true;
}

void HelperAdmission::releasePlace(bool isServed) noexcept {
    const std::lock_guard lock(mutex);
    --(isServed ? served : refused);
}

} // namespace tavo
