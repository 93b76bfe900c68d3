#include "MachineStandIn.h"

#include "Require.h"

namespace tavo {

MachineStandIn::MachineStandIn(const std::filesystem::path& folder, const ProcessIdentity& caller)
    : caller(caller), journal(folder / "overrides.json") {
    std::filesystem::remove(folder / "overrides.json");
    processes->start(caller);
    const auto noLog = [](const std::string&) {};
    keeper = std::make_shared<OverrideKeeper>(
        setting, journal,
        OverrideKeeper::Surroundings{
            .processes = processes, .timers = timers, .isLidClosed = [this] { return isLidClosed; }, .log = noLog});
    service = std::make_shared<HelperService>(
        keeper, [](uid_t) { return std::nullopt; }, [this] { ++resets; }, noLog);
}

void MachineStandIn::began(PMSetScope scope) {
    begun.insert(scope);
    // The new scope replaces them.
    ending.clear();
}

void MachineStandIn::ended(PMSetScope scope) {
    if (begun.erase(scope) > 0 && isLidClosed) {
        ending.insert(scope);
    }
}

void MachineStandIn::endCaller() {
    processes->end(caller);
    processes->start(caller);
    begun.clear();
    ending.clear();
}

void MachineStandIn::letGraceRunOut() {
    timers->advance(OverrideKeeper::grace);
    ending.clear();
}

void MachineStandIn::turnFailure() {
    setting->fails = !setting->fails;
    if (!setting->fails) {
        keeper->retry();
    }
}

void MachineStandIn::check() {
    require(resets == expectedResets, "the helper is removed as often as that was asked for");
    auto expected = begun;
    expected.insert(ending.begin(), ending.end());
    const auto record = journal.load();
    Scopes recorded;
    for (const auto& entry : record.overrides) {
        require(entry.owner == caller, "every override is the caller's");
        recorded.insert(entry.scopes.begin(), entry.scopes.end());
    }
    require(recorded == begun, "the journal lists what has begun and not ended");
    if (!setting->fails) {
        require(setting->inForce == expected, "in force is what has begun");
        require(Scopes(record.scopesInForce.begin(), record.scopesInForce.end()) == expected,
                "the journal knows what is in force");
        require(!keeper->hasUnfinishedWork(), "nothing is left to be done");
        require(keeper->isIdle() == expected.empty(), "without overrides the helper is idle");
    }
}

} // namespace tavo
