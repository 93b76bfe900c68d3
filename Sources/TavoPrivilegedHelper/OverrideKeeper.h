#pragma once

#include "TavoPrivilegedHelper/HelperTimers.h"
#include "TavoPrivilegedHelper/SleepSetting.h"
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

/// Ties every override to the process that began it, so that none outlives its reason.
///
/// A scope is in force while at least one living process has an override for it. When an override ends with the lid
/// closed, its process may be about to begin another one, since a Tavo whose plan has changed ends everything first:
/// for a moment the old scope stays, so the machine cannot fall asleep in between. The journal is written before a
/// scope comes into force and after it has ended: whatever a crash leaves behind, the next start finds in it.
class OverrideKeeper {
public:
    using Log = std::function<void(const std::string&)>;

    /// How long a scope stays whose override ended with the lid closed: longer than a Tavo takes to begin the next one.
    static constexpr std::chrono::milliseconds grace{3000};

    /// Between two attempts to do what has failed and nobody waits for.
    static constexpr std::chrono::milliseconds retryPause{1000};

    /// The number of processes that may have overrides at once: each costs the helper a descriptor.
    static constexpr std::size_t maxOwners = 64;

    struct Surroundings {
        std::shared_ptr<ProcessWatching> processes;
        std::shared_ptr<HelperTimers> timers;

        /// Whether the machine might fall asleep as soon as it may.
        std::function<bool()> isLidClosed;

        /// Gets one line for every change that nobody has requested.
        Log log;

        /// Called when such a change is over, or is to be tried again; may be empty.
        std::function<void()> onChange = {};
    };

    /// @param setting  is applied once for each change of the scopes that all processes need together.
    OverrideKeeper(std::shared_ptr<SleepSetting> setting, SleepOverrideJournal journal, Surroundings surroundings);
    OverrideKeeper(const OverrideKeeper&) = delete;
    OverrideKeeper& operator=(const OverrideKeeper&) = delete;

    /// Reads the journal: the overrides of living processes are in force again after this, the others have ended.
    /// @param foundInForce  the scopes that are in force by the setting's own account.
    void takeOver(const std::vector<PMSetScope>& foundInForce = {});

    /// Begins an override in a process's name. One that cannot be had is forgotten.
    /// @param user  for whom the process runs.
    /// @throws the setting's error; WakeControlError when the process has ended, std::system_error when it cannot be
    /// watched or the journal cannot be written.
    void begin(const ProcessIdentity& owner, PMSetScope scope, std::optional<uid_t> user = std::nullopt);

    /// Ends an override, which may take effect a little later. Does nothing for one that never began.
    /// @throws the setting's error; std::system_error when the journal cannot be written. It is tried again then.
    void end(const ProcessIdentity& owner, PMSetScope scope);

    /// Ends at once the overrides of processes whose user is not served any more. One whose user is not known keeps
    /// them.
    void endUnserved(const std::function<bool(uid_t user)>& isServed);

    /// Ends every override at once.
    void endAll();

    /// Whether something has failed that nobody waits for, such as ending the override of a dead process. It is tried
    /// again and again while the event loop runs.
    bool hasUnfinishedWork() const { return !isSettled; }

    /// Whether no process has an override, none is still in force for a moment, and nothing is to be tried again.
    bool isIdle() const { return owners.empty() && isSettled; }

    /// Tries it once more now.
    void retry() { settle(); }

private:
    using Scopes = std::set<PMSetScope>;

    struct Owner {
        Scopes scopes;

        /// Ended with the lid closed, and still in force until the timer has run out.
        Scopes ending;
        std::unique_ptr<HelperTimer> endingTimer;
        std::unique_ptr<ProcessWatch> watch;
        std::optional<uid_t> user;
    };

    SleepOverrideRecord readJournal() const;
    void adopt(const SleepOverride& recorded);
    std::unique_ptr<ProcessWatch> watch(const ProcessIdentity& process);
    void ownerEnded(ProcessIdentity owner);
    void endLater(const ProcessIdentity& owner, PMSetScope scope);
    void endNow(ProcessIdentity owner);
    bool lidMayBeClosed() const;
    Scopes wantedScopes() const;
    void writeJournal() const;
    void noteOverrides() const noexcept;
    bool isApplied(const Scopes& scopes) const { return unknown.empty() && scopes == applied; }
    void apply(const Scopes& scopes);
    void applyPossible(const Scopes& wanted);
    void reconcile();
    void settle() noexcept;

    std::shared_ptr<SleepSetting> setting;
    SleepOverrideJournal journal;
    Surroundings surroundings;
    std::unique_ptr<HelperTimer> retryTimer;
    std::map<ProcessIdentity, Owner> owners;

    /// The scopes that the setting has confirmed last.
    Scopes applied;

    /// The scopes of which nobody knows whether they are in force: an earlier helper or a failed attempt may have left
    /// them so. Empty while the setting is known to be as it was confirmed.
    Scopes unknown;
    bool isSettled = true;
};

} // namespace tavo
