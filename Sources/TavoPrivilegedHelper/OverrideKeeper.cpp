#include "TavoPrivilegedHelper/OverrideKeeper.h"

#include "base/WakeControlError.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

namespace tavo {

OverrideKeeper::OverrideKeeper(std::shared_ptr<PrivilegedSleepControlling> setting, SleepOverrideJournal journal,
                               Surroundings surroundings)
    : setting(std::move(setting)), journal(std::move(journal)), surroundings(std::move(surroundings)) {}

void OverrideKeeper::takeOver(const std::vector<PMSetScope>& foundInForce) {
    const auto record = readJournal();
    doubtful.insert(record.scopesInForce.begin(), record.scopesInForce.end());
    doubtful.insert(foundInForce.begin(), foundInForce.end());
    for (const auto& override : record.overrides) {
        adopt(override);
    }
    settle();
}

SleepOverrideRecord OverrideKeeper::readJournal() const {
    try {
        return journal.load();
    } catch (const std::exception& error) {
        surroundings.log(
            fmt::format("the journal of overrides cannot be read, so everything is undone: {}", error.what()));
        return {{}, {PMSetScope::all, PMSetScope::ac, PMSetScope::battery}};
    }
}

void OverrideKeeper::adopt(const SleepOverride& override) {
    std::unique_ptr<ProcessWatch> exit;
    try {
        exit = watch(override.owner);
    } catch (const std::exception& error) {
        // An override without an end is worse than none.
        surroundings.log(fmt::format("process {} cannot be watched: {}", override.owner.pid, error.what()));
    }
    if (!exit) {
        surroundings.log(fmt::format("what process {} asked for is not taken over.", override.owner.pid));
        return;
    }
    auto& owner = owners[override.owner];
    owner.scopes.insert(override.scopes.begin(), override.scopes.end());
    owner.watch = std::move(exit);
    owner.user = override.user;
    surroundings.log(fmt::format("took over what process {} has asked for.", override.owner.pid));
}

std::unique_ptr<ProcessWatch> OverrideKeeper::watch(const ProcessIdentity& process) {
    return surroundings.processes->watchExit(process, [this, process] { ownerEnded(process); });
}

void OverrideKeeper::setSleepDisabled(const ProcessIdentity& owner, PMSetScope scope, bool disabled,
                                      std::optional<uid_t> user) {
    if (disabled) {
        add(owner, scope, user);
    } else {
        remove(owner, scope);
    }
}

void OverrideKeeper::add(const ProcessIdentity& owner, PMSetScope scope, std::optional<uid_t> user) {
    const bool isNewOwner = !owners.contains(owner);
    if (isNewOwner && owners.size() >= maxOwners) {
        throw WakeControlError::commandFailed(
            fmt::format("{} processes have asked for an override already; end some of them.", maxOwners));
    }
    if (isNewOwner) {
        auto exit = watch(owner);
        if (!exit) {
            throw WakeControlError::commandFailed("the process that asked for an override has ended.");
        }
        owners[owner].watch = std::move(exit);
    }
    auto& entry = owners[owner];
    entry.user = user;
    const bool isNewScope = entry.scopes.insert(scope).second;
    try {
        writeJournal();
        reconcile();
    } catch (...) {
        if (isNewScope) {
            entry.scopes.erase(scope);
        }
        if (isNewOwner) {
            owners.erase(owner);
        }
        settle();
        throw;
    }
    if (!entry.released.empty()) {
        // What the process had before goes now that the new is in force.
        forgetReleased(owner);
    }
}

void OverrideKeeper::remove(const ProcessIdentity& owner, PMSetScope scope) {
    const auto found = owners.find(owner);
    if (found != owners.end() && found->second.scopes.erase(scope) > 0 && lidMayBeClosed()) {
        release(owner, scope);
    } else if (found != owners.end() && found->second.scopes.empty() && found->second.released.empty()) {
        owners.erase(found);
    }
    try {
        reconcile();
        writeJournal();
    } catch (...) {
        settle();
        throw;
    }
}

void OverrideKeeper::release(const ProcessIdentity& owner, PMSetScope scope) {
    auto& entry = owners.at(owner);
    entry.released.insert(scope);
    entry.releaseTimer = surroundings.timers->start(grace, [this, owner] { forgetReleased(owner); });
}

// By value: the timer goes with its owner, and with the timer what this was called with.
void OverrideKeeper::forgetReleased(ProcessIdentity owner) {
    const auto found = owners.find(owner);
    if (found == owners.end()) {
        return;
    }
    found->second.released.clear();
    found->second.releaseTimer.reset();
    if (found->second.scopes.empty()) {
        owners.erase(found);
    }
    settle();
}

bool OverrideKeeper::lidMayBeClosed() const {
    try {
        return surroundings.isLidClosed();
    } catch (const std::exception&) {
        // Whoever cannot be asked about the lid cannot be told to act on it either; undoing says what is wrong.
        return false;
    }
}

// By value: the watch goes with its owner, and with the watch what this was called with.
void OverrideKeeper::ownerEnded(ProcessIdentity owner) {
    if (owners.erase(owner) > 0) {
        surroundings.log(fmt::format("process {} has ended; what it asked for is undone.", owner.pid));
        settle();
    }
}

void OverrideKeeper::endUnserved(const std::function<bool(uid_t user)>& isServed) {
    const auto ended = std::erase_if(owners, [&](const auto& entry) {
        const auto& [process, owner] = entry;
        if (!owner.user || isServed(*owner.user)) {
            return false;
        }
        surroundings.log(fmt::format("user {} is not served any more; what process {} asked for is undone.",
                                     *owner.user, process.pid));
        return true;
    });
    if (ended > 0) {
        settle();
    }
}

void OverrideKeeper::undoAll() {
    owners.clear();
    settle();
}

std::set<PMSetScope> OverrideKeeper::wantedScopes() const {
    std::set<PMSetScope> scopes;
    for (const auto& [process, owner] : owners) {
        scopes.insert(owner.scopes.begin(), owner.scopes.end());
        scopes.insert(owner.released.begin(), owner.released.end());
    }
    return scopes;
}

void OverrideKeeper::writeJournal() const {
    SleepOverrideRecord record;
    for (const auto& [process, owner] : owners) {
        if (!owner.scopes.empty()) {
            record.overrides.push_back({process, {owner.scopes.begin(), owner.scopes.end()}, owner.user});
        }
    }
    auto scopes = wantedScopes();
    scopes.insert(inForce.begin(), inForce.end());
    scopes.insert(doubtful.begin(), doubtful.end());
    record.scopesInForce.assign(scopes.begin(), scopes.end());
    journal.save(record);
}

/// Makes the setting what the owners want. New scopes come first: with the lid closed, a moment in between without any
/// would be enough for the machine to fall asleep.
void OverrideKeeper::reconcile() {
    const auto wanted = wantedScopes();
    std::exception_ptr failure;
    for (const auto scope : wanted) {
        try {
            bringIntoForce(scope);
        } catch (...) {
            // What can no longer be had must not keep in force what nobody wants any more.
            failure = std::current_exception();
        }
    }
    auto unwanted = inForce;
    unwanted.insert(doubtful.begin(), doubtful.end());
    for (const auto scope : unwanted) {
        if (!wanted.contains(scope)) {
            setting->setSleepDisabled(scope, false);
            inForce.erase(scope);
            doubtful.erase(scope);
        }
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void OverrideKeeper::bringIntoForce(PMSetScope scope) {
    if (!inForce.contains(scope)) {
        doubtful.insert(scope);
        setting->setSleepDisabled(scope, true);
        inForce.insert(scope);
    }
    doubtful.erase(scope);
}

void OverrideKeeper::settle() noexcept {
    try {
        retryTimer.reset();
        reconcile();
        writeJournal();
        isSettled = true;
    } catch (const std::exception& error) {
        // Said once: the attempts go on, and would fill the log.
        if (std::exchange(isSettled, false)) {
            surroundings.log(fmt::format("could not bring the overrides in order, trying again: {}", error.what()));
        }
        retryTimer = surroundings.timers->start(retryPause, [this] { settle(); });
    }
}

} // namespace tavo
