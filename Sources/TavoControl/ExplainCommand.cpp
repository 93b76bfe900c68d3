#include "TavoControl/ExplainCommand.h"

#include "TavoControl/RunningTavo.h"
#include "TavoControl/StatusCommand.h"
#include "runtime/ActivityFile.h"
#include "runtime/ProcessTreeIndex.h"

#include <algorithm>

namespace tavo {

namespace {

/// One reading of the process table, shared by everything that needs it.
class SharedSnapshot final : public ProcessSnapshotProviding {
public:
    explicit SharedSnapshot(std::shared_ptr<ProcessSnapshotProviding> processes) : processes(std::move(processes)) {}

    ProcessSnapshot snapshot(TimePoint at) override {
        if (!taken) {
            taken = processes->snapshot(at);
        }
        return *taken;
    }

private:
    std::shared_ptr<ProcessSnapshotProviding> processes;
    std::optional<ProcessSnapshot> taken;
};

} // namespace

ExplanationFacts ExplanationSource::collect() {
    auto once = platform;
    once.processes = std::make_shared<SharedSnapshot>(platform.processes);
    std::exception_ptr failure;
    ExplanationFacts facts{.status = statusFacts(store, once, failure)};
    facts.status.config = configOf(facts.status, failure);
    lastConfig = facts.status.config;
    if (const auto running = RunningTavo::find(store)) {
        facts.overrides = running->overrides;
        facts.activity = ActivityFile(store.paths()).readOfRunningTavo();
    }
    if (facts.status.config.watchMode != WatchMode::open) {
        facts.helper = platform.closedLidSupport().state();
    }
    if (!facts.status.runningProcessID) {
        facts.status.snapshot = rehearsedDecision(facts.status.config, facts.status.now, platform.powerEnvironment,
                                                  once.processes, facts.helper == PrivilegedHelperInstallState::ready);
    }
    try {
        addTrees(facts, once.processes->snapshot(facts.status.now));
    } catch (const std::exception&) {
        // Without the table only the trees are missing; a decision that needs it has failed and reports that.
    }
    return facts;
}

AppConfig ExplanationSource::configOf(const StatusFacts& status, const std::exception_ptr& failure) const {
    if (failure && !lastConfig) {
        std::rethrow_exception(failure);
    }
    return failure ? *lastConfig : status.config;
}

void ExplanationSource::addTrees(ExplanationFacts& facts, const ProcessSnapshot& table) {
    const ProcessTreeIndex index(table.processes);
    std::map<std::int32_t, CPUTime> times;
    for (const auto& match : facts.status.snapshot.matchedProcesses) {
        const auto root =
            std::find_if(table.processes.begin(), table.processes.end(), [&](const ProcessSample& process) {
                return process.pid == match.pid && process.executableName == match.executableName;
            });
        if (root == table.processes.end()) {
            continue;
        }
        MatchedTreeFacts tree{.pid = match.pid};
        CPUTime time{.at = facts.status.now};
        for (const auto* member : index.collectProcessTree(match.pid)) {
            ++tree.size;
            time.seconds += member->cpuTimeSeconds;
        }
        if (const auto before = lastTimes.find(match.pid); before != lastTimes.end()) {
            const double elapsed = std::chrono::duration<double>(time.at - before->second.at).count();
            constexpr double percent = 100;
            if (elapsed > 0) {
                // A child that ended takes its CPU time with it.
                tree.cpuPercent = std::max(0.0, time.seconds - before->second.seconds) / elapsed * percent;
            }
        }
        times.emplace(match.pid, time);
        facts.trees.push_back(tree);
    }
    lastTimes = std::move(times);
}

ExitStatus printExplanation(const ExplainOptions& options, const TavoStoring& store, const Platform& platform) {
    const Explanation explanation(ExplanationSource(store, platform).collect());
    const Console console(stdout);
    if (options.json) {
        console.print(shownJson(explanation.json()));
    } else {
        for (const auto& line : explanation.lines(console, console.width())) {
            console.print(line);
        }
    }
    return ExitStatus::success;
}

} // namespace tavo
