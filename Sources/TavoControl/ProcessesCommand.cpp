#include "TavoControl/ProcessesCommand.h"

#include "TavoControl/Console.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/StatusReport.h"
#include "app/StatusCopy.h"
#include "base/JsonCoding.h"
#include "base/Text.h"
#include "runtime/ProcessTreeIndex.h"
#include "runtime/ProcessWatcher.h"
#include "runtime/WorkMonitor.h"

#include <fmt/format.h>

#include <algorithm>
#include <thread>

namespace tavo {

namespace {

constexpr std::chrono::seconds samplingTime{5};

struct MatchedTree {
    std::string commandLine;
    ProcessTreeMeasurement measured;

    /// Present where it was measured twice.
    std::optional<TreeActivity> activity;
};

std::vector<MatchedTree> matchedTrees(const std::vector<ProcessSample>& processes, const TriggerRule& rule) {
    const ProcessTreeIndex index(processes);
    TriggerMatcher matcher(rule);
    std::vector<MatchedTree> trees;
    for (const auto& process : processes) {
        if (!matcher.matches(process)) {
            continue;
        }
        MatchedTree tree{.commandLine = std::string(process.commandLine),
                         .measured = {.rootPID = process.pid, .executableName = std::string(process.executableName)},
                         .activity = {}};
        for (const auto* member : index.collectProcessTree(process.pid)) {
            tree.measured.processIDs.insert(member->pid);
            tree.measured.totalCPUTime += member->cpuTimeSeconds;
        }
        trees.push_back(std::move(tree));
    }
    return trees;
}

std::vector<MatchedTree> matchesNow(const Platform& platform, const TriggerRule& rule) {
    return matchedTrees(platform.processes->snapshot(std::chrono::system_clock::now()).processes, rule);
}

/// The matches of a moment from now, each compared with itself as it is now.
std::vector<MatchedTree> measuredMatches(const Platform& platform, const TriggerRule& rule, double busyPercent) {
    const auto before = matchesNow(platform, rule);
    const auto start = std::chrono::steady_clock::now();
    if (platform.sleeper) {
        platform.sleeper(samplingTime);
    } else {
        std::this_thread::sleep_for(samplingTime);
    }
    auto now = matchesNow(platform, rule);
    const std::chrono::duration<double> elapsed =
        std::max<std::chrono::steady_clock::duration>(std::chrono::steady_clock::now() - start, samplingTime);
    for (auto& tree : now) {
        const auto earlier = std::find_if(before.begin(), before.end(), [&](const auto& each) {
            return each.measured.rootPID == tree.measured.rootPID;
        });
        tree.activity = earlier == before.end()
                            ? TreeActivity{.pid = tree.measured.rootPID,
                                           .executableName = tree.measured.executableName,
                                           .cpuPercent = {}}
                            : compareTrees(earlier->measured, tree.measured, elapsed.count(), busyPercent);
    }
    return now;
}

Json asJson(const MatchedTree& tree) {
    // Of a tree that was measured twice, everything that the activity of a running Tavo says of it, too.
    Json object = tree.activity ? Json(*tree.activity) : Json::object();
    object.update({{"pid", tree.measured.rootPID},
                   {"executableName", tree.measured.executableName},
                   {"commandLine", tree.commandLine},
                   {"treeSize", tree.measured.processIDs.size()},
                   {"cpuTimeSeconds", tree.measured.totalCPUTime}});
    return object;
}

/// The share of a core, and whether that or a change of the members counts as work: "12.3% works", "0.0% works, members
/// changed".
std::string nowText(const TreeActivity& activity) {
    if (!activity.cpuPercent) {
        return "new, works until measured";
    }
    return fmt::format("{:>5.1f}% {}{}", *activity.cpuPercent, activity.isWorking() ? "works" : "idle",
                       activity.verdict == WorkVerdict::membersChanged ? ", members changed" : "");
}

void printTable(const std::vector<MatchedTree>& trees, const TriggerRule& rule, const Console& console) {
    if (trees.empty()) {
        console.print(fmt::format("no process matches {}", visibleControls(shortDisplayName(rule))));
        return;
    }
    const bool isMeasured = trees.front().activity.has_value();
    const auto columns = [&](const std::string& verdict) { return isMeasured ? fmt::format("{:<29} ", verdict) : ""; };
    console.print(console.styled(
        fmt::format("{:>8}  {:<20} {:>5} {:>10}  {}{}", "pid", "name", "tree", "cpu", columns("now"), "command line"),
        Emphasis::strong));
    for (const auto& tree : trees) {
        console.print(fmt::format("{:>8}  {:<20} {:>5} {:>9.2f}s  {}{}", tree.measured.rootPID,
                                  visibleControls(tree.measured.executableName), tree.measured.processIDs.size(),
                                  tree.measured.totalCPUTime, columns(tree.activity ? nowText(*tree.activity) : ""),
                                  visibleControls(shownCommandLine(tree.commandLine))));
    }
}

} // namespace

ExitStatus printProcesses(const ProcessesOptions& options, const TavoStoring& store, const Platform& platform) {
    const Console console(stdout);
    const auto rule = options.rule ? options.rule->validated() : loadConfigOrExplain(store).trigger;
    const bool isAlways = rule.mode == TriggerMode::always;
    std::vector<MatchedTree> trees;
    if (!isAlways) {
        trees = options.cpu ? measuredMatches(platform, rule, options.cpu->busyPercent) : matchesNow(platform, rule);
    }
    if (options.json) {
        auto list = Json::array();
        for (const auto& tree : trees) {
            list.push_back(asJson(tree));
        }
        console.print(shownJson(list));
    } else if (isAlways) {
        console.print("the trigger is always on, so no process is watched; name one with --preset, --executable or "
                      "--command.");
    } else {
        printTable(trees, rule, console);
    }
    return ExitStatus::success;
}

} // namespace tavo
