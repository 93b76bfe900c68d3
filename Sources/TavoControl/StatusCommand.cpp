#include "TavoControl/StatusCommand.h"

#include "TavoControl/ExitStatus.h"
#include "TavoControl/RunningTavo.h"
#include "TavoControl/StatusReport.h"
#include "base/ErrorText.h"
#include "base/JsonCoding.h"
#include "runtime/ActivityFile.h"
#include "system/ProcessStart.h"

#include <unistd.h>

#include <algorithm>
#include <unordered_map>

namespace tavo {

namespace {

/// The name under which Tavo holds what it holds: its own on Linux, the system tool's on macOS.
bool isHeldForTavo(const HeldAssertion& assertion) {
    return assertion.who == "tavo" || assertion.who == "caffeinate";
}

/// Leaves only what belongs to a Tavo of this user's: any program may take a lock under any name.
class OwnLocks {
public:
    OwnLocks(const Platform& platform, TimePoint now) : platform(platform) {
        for (auto& process : platform.processes->snapshot(now).processes) {
            processes.emplace(process.pid, std::move(process));
        }
    }

    /// Held by the running Tavo or a child of it.
    bool isHeldBy(std::int32_t owner, const HeldAssertion& assertion) const {
        const auto holder = processes.find(assertion.pid);
        return assertion.pid == owner || (holder != processes.end() && holder->second.parentPID == owner);
    }

    /// Left by a Tavo that has ended: nobody's child holds it.
    bool isLeftOver(const HeldAssertion& assertion) const {
        if (platform.orphanedAssertion) {
            return platform.orphanedAssertion() == assertion.pid;
        }
        const auto holder = processes.find(assertion.pid);
        // The platform's table leaves the names of Tavo's own programs out, and only those.
        return holder != processes.end() && holder->second.parentPID == 1 && holder->second.executableName.empty() &&
               assertion.uid.value_or(geteuid()) == geteuid();
    }

private:
    const Platform& platform;
    std::unordered_map<std::int32_t, ProcessSample> processes;
};

/// @param owner  the running Tavo; without one, what is left over stays in the list.
void keepOwn(std::vector<HeldAssertion>& held, std::optional<std::int32_t> owner, const OwnLocks& locks) {
    std::erase_if(held, [&](const HeldAssertion& assertion) {
        return !isHeldForTavo(assertion) || !(owner ? locks.isHeldBy(*owner, assertion) : locks.isLeftOver(assertion));
    });
}

RuntimeSnapshot lastSnapshot(const TavoStoring& store) {
    try {
        return store.loadRuntimeSnapshot();
    } catch (const std::exception&) {
        // A damaged state file is replaced by the next evaluation; until then there is no last snapshot.
        return RuntimeSnapshot::idle();
    }
}

} // namespace

StatusFacts statusFacts(const TavoStoring& store, const Platform& platform, std::exception_ptr& configurationFailure) {
    const auto running = RunningTavo::find(store);
    StatusFacts facts{.now = std::chrono::system_clock::now(),
                      .snapshot = lastSnapshot(store),
                      .power = platform.powerEnvironment->currentStatus(),
                      .runningProcessID = running ? std::optional(running->processID) : std::nullopt,
                      .isStopped = running && isProcessStopped(running->processID),
                      .assertionNotice = running ? running->assertionNotice : "",
                      .machineNoun = platform.machineNoun};
    if (running && running->whileWorking) {
        facts.activity = ActivityFile(store.paths()).readOfRunningTavo();
    }
    try {
        auto held = platform.heldAssertions->heldAssertions();
        keepOwn(held, facts.runningProcessID, OwnLocks(platform, facts.now));
        facts.held = std::move(held);
        facts.isHeldInPlanWords = platform.heldAssertions->usesPlanWords();
    } catch (const std::exception& error) {
        facts.heldError = errorText(error);
    }
    try {
        const auto config = loadConfigOrExplain(store);
        facts.config = running ? running->overrides.appliedTo(config) : config;
    } catch (const ConfigurationError&) {
        configurationFailure = std::current_exception();
    }
    return facts;
}

ExitStatus printStatus(const StatusOptions& options, const TavoStoring& store, const Platform& platform) {
    std::exception_ptr configurationFailure;
    const StatusReport report(statusFacts(store, platform, configurationFailure));
    const Console console(stdout);
    if (options.json) {
        console.print(shownJson(report.json()));
    } else {
        for (const auto& line : report.lines(console)) {
            console.print(line);
        }
    }
    if (configurationFailure) {
        std::rethrow_exception(configurationFailure);
    }
    return ExitStatus::success;
}

} // namespace tavo
