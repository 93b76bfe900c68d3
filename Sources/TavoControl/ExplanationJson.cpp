#include "TavoControl/Explanation.h"
#include "app/StatusCopy.h"
#include "base/JsonCoding.h"

namespace tavo {

namespace {

template <typename Value>
Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

} // namespace

Json Explanation::triggerValues() const {
    Json values{{"mode", rawValue(config().trigger.mode)}, {"name", shortDisplayName(config().trigger)}};
    if (config().trigger.mode == TriggerMode::process) {
        values["matchStrategy"] = rawValue(config().trigger.matchStrategy);
        values["query"] = config().trigger.query;
        values["requiresActivity"] = config().trigger.requiresActivity;
        auto matches = Json::array();
        for (const auto& process : snapshot().matchedProcesses) {
            Json match{{"pid", process.pid}, {"executableName", process.executableName}};
            for (const auto& tree : facts.trees) {
                if (tree.pid == process.pid) {
                    match["treeSize"] = tree.size;
                    match["cpuPercent"] = orNull(tree.cpuPercent);
                }
            }
            matches.push_back(std::move(match));
        }
        values["matches"] = std::move(matches);
        if (facts.activity) {
            values["activity"] = *facts.activity;
        }
    }
    return values;
}

Json Explanation::valuesOf(DecisionStep step) const {
    switch (step) {
    case DecisionStep::masterSwitch:
        return {{"isEnabled", config().isEnabled}};
    case DecisionStep::powerSource:
        return {{"source", rawValue(facts.status.power.source)}, {"policy", rawValue(config().powerSourcePolicy)}};
    case DecisionStep::batteryCutoff:
        return {{"percent", orNull(facts.status.power.batteryPercent)},
                {"cutoffPercent", orNull(config().batteryCutoffPercent)}};
    case DecisionStep::trigger:
        return triggerValues();
    case DecisionStep::closedLid:
        return {{"watchMode", rawValue(config().watchMode)},
                {"helper", facts.helper ? Json(rawValue(*facts.helper)) : Json(nullptr)}};
    case DecisionStep::assertion:
        break;
    }
    Json values{{"held", Json::array()}};
    for (const auto& assertion : facts.status.held.value_or(std::vector<HeldAssertion>())) {
        values["held"].push_back({{"what", assertion.what}, {"pid", assertion.pid}});
    }
    if (!facts.status.held) {
        values = {{"held", nullptr}, {"heldError", facts.status.heldError}};
    }
    if (!facts.status.assertionNotice.empty()) {
        values["notice"] = facts.status.assertionNotice;
    }
    if (snapshot().lastError) {
        values["error"] = *snapshot().lastError;
    }
    return values;
}

Json Explanation::json() const {
    const auto copy = headline();
    Json object{{"running", isRunning()},
                {"reason", rawValue(snapshot().lastDecisionReason)},
                {"awake", isRunning() && StatusReport(facts.status).isKeepingAwake()},
                {"title", copy.title},
                {"detail", copy.detail},
                {"steps", Json::array()},
                {"change", change()}};
    if (isRunning()) {
        object["processID"] = *facts.status.runningProcessID;
        object["stopped"] = facts.status.isStopped;
    }
    for (const auto& step : explained) {
        object["steps"].push_back({{"step", rawValue(step.step)},
                                   {"verdict", rawValue(step.verdict)},
                                   {"text", step.text},
                                   {"values", step.values}});
    }
    return object;
}

} // namespace tavo
