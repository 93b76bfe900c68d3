#include "StatusCommand.h"

#include "ConfigurationError.h"
#include "RunningTavo.h"
#include "StatusReport.h"
#include "base/ErrorText.h"

#include <algorithm>
#include <unordered_map>

namespace tavo {

namespace {

/// The name under which Tavo holds what it holds: its own on Linux, the system tool's on macOS.
bool isHeldForTavo(const HeldAssertion& assertion) {
    return assertion.who == "tavo" || assertion.who == "caffeinate";
}

/// Leaves only what belongs to the given Tavo: what itself or a child of its holds. Without one, what nobody's child
/// holds any more stays in the list, since it would be left over.
void keepOwn(std::vector<HeldAssertion>& held, std::optional<std::int32_t> owner, ProcessSnapshotProviding& processes,
             TimePoint now) {
    std::unordered_map<std::int32_t, std::int32_t> parents;
    for (const auto& process : processes.snapshot(now).processes) {
        parents.emplace(process.pid, process.parentPID);
    }
    std::erase_if(held, [&](const HeldAssertion& assertion) {
        if (!isHeldForTavo(assertion)) {
            return true;
        }
        const auto parent = parents.find(assertion.pid);
        if (owner) {
            return assertion.pid != *owner && (parent == parents.end() || parent->second != *owner);
        }
        return parent != parents.end() && parent->second != 1;
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

ExitStatus printStatus(const StatusOptions& options, const TavoStoring& store, const Platform& platform) {
    const auto running = RunningTavo::find(store);
    StatusFacts facts{.now = std::chrono::system_clock::now(),
                      .snapshot = lastSnapshot(store),
                      .power = platform.powerEnvironment->currentStatus(),
                      .runningProcessID = running ? std::optional(running->processID) : std::nullopt,
                      .machineNoun = platform.machineNoun};
    try {
        auto held = platform.heldAssertions->heldAssertions();
        keepOwn(held, facts.runningProcessID, *platform.processes, facts.now);
        facts.held = std::move(held);
    } catch (const std::exception& error) {
        facts.heldError = errorText(error);
    }
    std::exception_ptr configurationFailure;
    try {
        const auto config = loadConfigOrExplain(store);
        facts.config = running ? running->overrides.appliedTo(config) : config;
    } catch (const ConfigurationError&) {
        configurationFailure = std::current_exception();
    }

    const Console console(stdout);
    const StatusReport report(std::move(facts));
    if (options.json) {
        console.print(report.json().dump(2, ' ', false, Json::error_handler_t::replace));
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
