#pragma once

#include "TavoPrivilegedHelper/HelperTimers.h"
#include "helper/PrivilegedSleepControlling.h"
#include "helper/ProcessWatching.h"
#include "helper/SleepOverrideJournal.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tavo {

/// Ties every override to the process that asked for it, so that none outlives its reason.
///
/// A scope is switched off while at least one living process asks for that. A process that gives a scope back with the lid
/// closed may be about to ask for another one, since a Tavo whose plan has changed lets go of everything first: for a short
/// while the old one stays, lest the machine fall asleep in between. The journal is written before something is
/// switched off and after it is switched on again: whatever a crash leaves behind, the next start finds in it.
class OverrideKeeper {
public:
    using Log = std::function<void(const std::string&)>;

    /// How long a scope stays that was given back with the lid closed: longer than a Tavo takes to ask again.
    static constexpr std::chrono::milliseconds grace{3000};

    /// Between two attempts to do what has failed and nobody waits for.
    static constexpr std::chrono::milliseconds retryPause{1000};

    /// As many processes may have something in force at once: each costs the helper a descriptor.
    static constexpr std::size_t maxOwners = 64;

    struct Surroundings {
        std::shared_ptr<ProcessWatching> processes;
        std::shared_ptr<HelperTimers> timers;

        /// Whether the machine might fall asleep as soon as it may.
        std::function<bool()> isLidClosed;

        /// Gets one line for what happens without anybody asking.
        Log log;
    };

    /// @param setting  switches sleep off and on for a scope; is told of each scope once, however many ask for it.
    OverrideKeeper(std::shared_ptr<PrivilegedSleepControlling> setting, SleepOverrideJournal journal,
                   Surroundings surroundings);
    OverrideKeeper(const OverrideKeeper&) = delete;
    OverrideKeeper& operator=(const OverrideKeeper&) = delete;

    /// Reads the journal: what living processes asked for is in force again after this, the rest is undone.
    /// @param foundInForce  scopes that the setting itself says are switched off.
    void takeOver(const std::vector<PMSetScope>& foundInForce = {});

    /// Asks for an override in a process's name, or gives it back, which may come into force a little later.
    /// @throws the setting's error; an override that could not be had is not remembered. WakeControlError when the process
    /// has ended, std::system_error when it cannot be watched or the journal not be written.
    /// @param user  for whom the process asks.
    void setSleepDisabled(const ProcessIdentity& owner, PMSetScope scope, bool disabled,
                          std::optional<uid_t> user = std::nullopt);

    /// Gives back at once what processes asked for whose user is not served any more. One whose user is not known keeps it.
    void endUnserved(const std::function<bool(uid_t user)>& isServed);

    /// Gives back everything that anybody asked for, at once.
    void undoAll();

    /// Whether what nobody waits for has failed, such as undoing what a dead process asked for. It is tried again
    /// and again while the event loop runs.
    bool hasUnfinishedWork() const { return !isSettled; }

    /// Tries it once more now.
    void retry() { settle(); }

private:
    struct Owner {
        std::set<PMSetScope> scopes;

        /// Given back, and still in force until the timer has run out.
        std::set<PMSetScope> released;
        std::unique_ptr<HelperTimer> releaseTimer;
        std::unique_ptr<ProcessWatch> watch;
        std::optional<uid_t> user;
    };

    SleepOverrideRecord readJournal() const;
    void adopt(const SleepOverride& override);
    std::unique_ptr<ProcessWatch> watch(const ProcessIdentity& process);
    void ownerEnded(ProcessIdentity owner);
    void add(const ProcessIdentity& owner, PMSetScope scope, std::optional<uid_t> user);
    void remove(const ProcessIdentity& owner, PMSetScope scope);
    void release(const ProcessIdentity& owner, PMSetScope scope);
    void forgetReleased(ProcessIdentity owner);
    bool lidMayBeClosed() const;
    std::set<PMSetScope> wantedScopes() const;
    void writeJournal() const;
    void reconcile();
    void bringIntoForce(PMSetScope scope);
    void settle() noexcept;

    std::shared_ptr<PrivilegedSleepControlling> setting;
    SleepOverrideJournal journal;
    Surroundings surroundings;
    std::unique_ptr<HelperTimer> retryTimer;
    std::map<ProcessIdentity, Owner> owners;

    /// What is switched off by this process.
    std::set<PMSetScope> inForce;

    /// What may be switched off: an earlier process, or an attempt that failed, may have left it so.
    std::set<PMSetScope> doubtful;
    bool isSettled = true;
};

} // namespace tavo
