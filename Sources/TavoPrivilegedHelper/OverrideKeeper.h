#pragma once

#include "helper/PMSetScope.h"
#include "helper/PrivilegedSleepControlling.h"
#include "helper/ProcessWatching.h"
#include "helper/SleepOverrideJournal.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace tavo {

/// Ties every override to the process that asked for it, so that none outlives its reason.
///
/// A scope is switched off while at least one living process asks for that. The journal is written before something is
/// switched off and after it is switched on again: whatever a crash leaves behind, the next start finds in it.
class OverrideKeeper {
public:
    using Log = std::function<void(const std::string&)>;

    /// @param setting  switches sleep off and on for a scope; is told of each scope once, however many ask for it.
    /// @param log      gets one line for what happens without anybody asking.
    OverrideKeeper(std::shared_ptr<PrivilegedSleepControlling> setting, SleepOverrideJournal journal,
                   std::shared_ptr<ProcessWatching> processes, Log log);
    OverrideKeeper(const OverrideKeeper&) = delete;
    OverrideKeeper& operator=(const OverrideKeeper&) = delete;

    /// Reads the journal: what living processes asked for is in force again after this, the rest is undone.
    /// @param foundInForce  scopes that the setting itself says are switched off.
    void takeOver(const std::vector<PMSetScope>& foundInForce = {});

    /// Asks for an override in a process's name, or gives it back.
    /// @throws the setting's error; an override that could not be had is not remembered. WakeControlError when the process
    /// has ended, std::system_error when it cannot be watched or the journal not be written.
    void setSleepDisabled(const ProcessIdentity& owner, PMSetScope scope, bool disabled);

    /// Gives back everything that anybody asked for.
    void undoAll();

    /// Whether what nobody waits for has failed, such as undoing what a dead process asked for, and has to be tried again.
    bool hasUnfinishedWork() const { return !isSettled; }
    void retry() { settle(); }

private:
    struct Owner {
        std::set<PMSetScope> scopes;
        std::unique_ptr<ProcessWatch> watch;
    };

    SleepOverrideRecord readJournal() const;
    void adopt(const SleepOverride& override);
    std::unique_ptr<ProcessWatch> watch(const ProcessIdentity& process);
    void ownerEnded(ProcessIdentity owner);
    void add(const ProcessIdentity& owner, PMSetScope scope);
    void remove(const ProcessIdentity& owner, PMSetScope scope);
    std::set<PMSetScope> wantedScopes() const;
    void writeJournal() const;
    void reconcile();
    void settle() noexcept;

    std::shared_ptr<PrivilegedSleepControlling> setting;
    SleepOverrideJournal journal;
    std::shared_ptr<ProcessWatching> processes;
    Log log;
    std::map<ProcessIdentity, Owner> owners;

    /// What is switched off by this process.
    std::set<PMSetScope> inForce;

    /// What may be switched off: an earlier process, or an attempt that failed, may have left it so.
    std::set<PMSetScope> doubtful;
    bool isSettled = true;
};

} // namespace tavo
