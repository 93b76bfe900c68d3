#include "TavoPrivilegedHelper/OverrideKeeper.h"

#include "base/WakeControlError.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

namespace tavo {

OverrideKeeper::OverrideKeeper(std::shared_ptr<SleepSetting> setting, SleepOverrideJournal journal,
                               Surroundings surroundings)
    : setting(std::move(setting)), journal(std::move(journal)), surroundings(std::move(surroundings)) {}

void OverrideKeeper::takeOver(const std::vector<PMSetScope>& foundInForce) {
    const auto record = readJournal();
    unknown.insert(record.scopesInForce.begin(), record.scopesInForce.end());
    unknown.insert(foundInForce.begin(), foundInForce.end());
    for (const auto& recorded : record.overrides) {
        adopt(recorded);
    }
    settle();
}

SleepOverrideRecord OverrideKeeper::readJournal() const {
    try {
        return journal.load();
    } catch (const std::exception& error) {
        surroundings.log(
            fmt::format("the journal of overrides cannot be read, so every override ends: {}", error.what()));
        return {{}, {PMSetScope::all, PMSetScope::ac, PMSetScope::battery}};
    }
}

void OverrideKeeper::adopt(const SleepOverride& recorded) {
    std::unique_ptr<ProcessWatch> exit;
    try {
        exit = watch(recorded.owner);
    } catch (const std::exception& error) {
        // An override without an end is worse than none.
        surroundings.log(fmt::format("process {} cannot be watched: {}", recorded.owner.pid, error.what()));
    }
    if (!exit) {
        surroundings.log(fmt::format("the override of process {} is not taken over.", recorded.owner.pid));
        return;
    }
    auto& owner = owners[recorded.owner];
    owner.scopes.insert(recorded.scopes.begin(), recorded.scopes.end());
    owner.watch = std::move(exit);
    owner.user = recorded.user;
    surroundings.log(fmt::format("took over the override of process {}.", recorded.owner.pid));
}

std::unique_ptr<ProcessWatch> OverrideKeeper::watch(const ProcessIdentity& process) {
    return surroundings.processes->watchExit(process, [this, process] { ownerEnded(process); });
}

void OverrideKeeper::begin(const ProcessIdentity& owner, PMSetScope scope, std::optional<uid_t> user) {
    const bool isNewOwner = !owners.contains(owner);
    if (isNewOwner && owners.size() >= maxOwners) {
        throw WakeControlError::commandFailed(
            fmt::format("{} processes have an override already; end some of them.", maxOwners));
    }
    if (isNewOwner) {
        auto exit = watch(owner);
        if (!exit) {
            throw WakeControlError::commandFailed("the process that requested the override has ended.");
        }
        owners[owner].watch = std::move(exit);
    }
    auto& entry = owners[owner];
    entry.user = user;
    const bool isNewScope = entry.scopes.insert(scope).second;
    // The new scope replaces those in the same step.
    auto replaced = std::exchange(entry.ending, {});
    try {
        writeJournal();
        const auto wanted = wantedScopes();
        if (!isApplied(wanted)) {
            apply(wanted);
        }
    } catch (...) {
        entry.ending = std::move(replaced);
        if (isNewScope) {
            entry.scopes.erase(scope);
        }
        if (isNewOwner) {
            owners.erase(owner);
        }
        settle();
        throw;
    }
    if (!replaced.empty()) {
        entry.endingTimer.reset();
        settle();
    }
}

void OverrideKeeper::end(const ProcessIdentity& owner, PMSetScope scope) {
    const auto found = owners.find(owner);
    if (found != owners.end() && found->second.scopes.erase(scope) > 0 && lidMayBeClosed()) {
        endLater(owner, scope);
    } else if (found != owners.end() && found->second.scopes.empty() && found->second.ending.empty()) {
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

void OverrideKeeper::endLater(const ProcessIdentity& owner, PMSetScope scope) {
    auto& entry = owners.at(owner);
    entry.ending.insert(scope);
    entry.endingTimer = surroundings.timers->start(grace, [this, owner] { endNow(owner); });
}

// By value: the timer is destroyed with its owner, and the argument with the timer.
void OverrideKeeper::endNow(ProcessIdentity owner) {
    const auto found = owners.find(owner);
    if (found == owners.end()) {
        return;
    }
    found->second.ending.clear();
    found->second.endingTimer.reset();
    if (found->second.scopes.empty()) {
        owners.erase(found);
    }
    settle();
}

bool OverrideKeeper::lidMayBeClosed() const {
    try {
        return surroundings.isLidClosed();
    } catch (const std::exception&) {
        // A system that does not answer about the lid does not act on it either; ending the override says what is
        // wrong.
        return false;
    }
}

// By value: the watch is destroyed with its owner, and the argument with the watch.
void OverrideKeeper::ownerEnded(ProcessIdentity owner) {
    if (owners.erase(owner) > 0) {
        surroundings.log(fmt::format("process {} has ended, and its override with it.", owner.pid));
        settle();
    }
}

void OverrideKeeper::endUnserved(const std::function<bool(uid_t user)>& isServed) {
    const auto ended = std::erase_if(owners, [&](const auto& entry) {
        const auto& [process, owner] = entry;
        if (!owner.user || isServed(*owner.user)) {
            return false;
        }
        surroundings.log(fmt::format("user {} is not served any more, so the override of process {} ends.", *owner.user,
                                     process.pid));
        return true;
    });
    if (ended > 0) {
        settle();
    }
}

void OverrideKeeper::endAll() {
    owners.clear();
    settle();
}

OverrideKeeper::Scopes OverrideKeeper::wantedScopes() const {
    Scopes scopes;
    for (const auto& [process, owner] : owners) {
        scopes.insert(owner.scopes.begin(), owner.scopes.end());
        scopes.insert(owner.ending.begin(), owner.ending.end());
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
    scopes.insert(applied.begin(), applied.end());
    scopes.insert(unknown.begin(), unknown.end());
    record.scopesInForce.assign(scopes.begin(), scopes.end());
    journal.save(record);
}

/// The next helper must neither take over an override that was refused nor one that has ended, whatever the setting says
/// meanwhile.
void OverrideKeeper::noteOverrides() const noexcept {
    try {
        writeJournal();
    } catch (const std::exception&) {
        // The next attempt to settle writes it again.
    }
}

/// While this fails, nobody knows what is in force: it may be the old scopes, the new ones, or a part of either.
void OverrideKeeper::apply(const Scopes& scopes) {
    unknown.insert(applied.begin(), applied.end());
    unknown.insert(scopes.begin(), scopes.end());
    setting->apply(scopes);
    applied = scopes;
    unknown.clear();
}

/// Makes the setting what the owners want.
void OverrideKeeper::reconcile() {
    const auto wanted = wantedScopes();
    if (isApplied(wanted)) {
        return;
    }
    try {
        apply(wanted);
    } catch (...) {
        const auto failure = std::current_exception();
        applyPossible(wanted);
        std::rethrow_exception(failure);
    }
}

/// One scope that cannot be had must neither cost the others theirs nor keep in force what nobody wants any more.
void OverrideKeeper::applyPossible(const Scopes& wanted) {
    Scopes possible;
    std::set_intersection(applied.begin(), applied.end(), wanted.begin(), wanted.end(),
                          std::inserter(possible, possible.end()));
    for (const auto scope : wanted) {
        auto attempt = possible;
        if (!attempt.insert(scope).second || attempt == wanted) {
            continue;
        }
        try {
            apply(attempt);
            possible = std::move(attempt);
        } catch (const std::exception&) {
            // The caller reports the failure of the whole; this is one of its parts.
        }
    }
    if (!std::includes(wanted.begin(), wanted.end(), unknown.begin(), unknown.end()) && possible != wanted) {
        apply(possible);
    }
}

void OverrideKeeper::settle() noexcept {
    try {
        retryTimer.reset();
        reconcile();
        writeJournal();
        isSettled = true;
    } catch (const std::exception& error) {
        noteOverrides();
        // Logged once: the attempts go on, and would fill the log.
        if (std::exchange(isSettled, false)) {
            surroundings.log(fmt::format("could not bring the overrides in order, trying again: {}", error.what()));
        }
        retryTimer = surroundings.timers->start(retryPause, [this] { settle(); });
    }
    if (surroundings.onChange) {
        surroundings.onChange();
    }
}

} // namespace tavo
