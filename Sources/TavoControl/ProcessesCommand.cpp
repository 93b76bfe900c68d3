#include "ProcessesCommand.h"

#include "ConfigurationError.h"
#include "Console.h"
#include "app/StatusCopy.h"
#include "base/Text.h"
#include "runtime/ProcessTreeIndex.h"
#include "runtime/TriggerMatcher.h"

#include <fmt/format.h>

namespace tavo {

namespace {

struct MatchedTree {
    const ProcessSample* root = nullptr;
    std::size_t size = 0;
    double cpuTimeSeconds = 0;
};

std::vector<MatchedTree> matchedTrees(const std::vector<ProcessSample>& processes, const TriggerRule& rule) {
    const ProcessTreeIndex index(processes);
    const TriggerMatcher matcher(rule);
    std::vector<MatchedTree> trees;
    for (const auto& process : processes) {
        if (!matcher.matches(process)) {
            continue;
        }
        MatchedTree tree{.root = &process};
        for (const auto* member : index.collectProcessTree(process.pid)) {
            ++tree.size;
            tree.cpuTimeSeconds += member->cpuTimeSeconds;
        }
        trees.push_back(tree);
    }
    return trees;
}

Json asJson(const MatchedTree& tree) {
    return {{"pid", tree.root->pid},
            {"executableName", tree.root->executableName},
            {"commandLine", tree.root->commandLine},
            {"treeSize", tree.size},
            {"cpuTimeSeconds", tree.cpuTimeSeconds}};
}

void printTable(const std::vector<MatchedTree>& trees, const TriggerRule& rule, const Console& console) {
    if (trees.empty()) {
        console.print(fmt::format("no process matches {}", visibleControls(shortDisplayName(rule))));
        return;
    }
    console.print(console.styled(
        fmt::format("{:>8}  {:<20} {:>5} {:>10}  {}", "pid", "name", "tree", "cpu", "command line"), Emphasis::strong));
    for (const auto& tree : trees) {
        console.print(fmt::format("{:>8}  {:<20} {:>5} {:>9.2f}s  {}", tree.root->pid,
                                  visibleControls(tree.root->executableName), tree.size, tree.cpuTimeSeconds,
                                  visibleControls(tree.root->commandLine)));
    }
}

} // namespace

ExitStatus printProcesses(const ProcessesOptions& options, const TavoStoring& store, const Platform& platform) {
    const Console console(stdout);
    const auto rule = options.rule ? options.rule->validated() : loadConfigOrExplain(store).trigger;
    const bool isAlways = rule.mode == TriggerMode::always;
    const auto snapshot = isAlways ? ProcessSnapshot() : platform.processes->snapshot(std::chrono::system_clock::now());
    const auto trees = isAlways ? std::vector<MatchedTree>() : matchedTrees(snapshot.processes, rule);
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
