#include "runtime/TreeTotals.h"

#include "system/ProcessPlaces.h"

#include <algorithm>
#include <cstddef>

namespace tavo {

namespace {

struct Node {
    double total = 0;
    std::optional<std::size_t> parent;
    std::size_t childrenToCome = 0;
};

std::optional<std::vector<Node>> nodesOf(const std::vector<ProcessSample>& processes) {
    const ProcessPlaces places(processes);
    std::vector<Node> nodes(processes.size());
    for (std::size_t place = 0; place < processes.size(); ++place) {
        const auto& process = processes[place];
        if (places.find(process.pid) != place) {
            return std::nullopt;
        }
        nodes[place].total = process.cpuTimeSeconds;
        if (process.parentPID != process.pid) {
            nodes[place].parent = places.find(process.parentPID);
        }
        if (const auto parent = nodes[place].parent) {
            ++nodes[*parent].childrenToCome;
        }
    }
    return nodes;
}

} // namespace

std::optional<std::vector<double>> cpuTimeOfEachTree(const std::vector<ProcessSample>& processes) {
    auto nodes = nodesOf(processes);
    if (!nodes) {
        return std::nullopt;
    }
    std::vector<std::size_t> leaves;
    for (std::size_t place = 0; place < nodes->size(); ++place) {
        if ((*nodes)[place].childrenToCome == 0) {
            leaves.push_back(place);
        }
    }
    // A process is added to its parent as soon as everything below itself has been added to it.
    std::size_t finished = 0;
    for (auto place : leaves) {
        ++finished;
        while (const auto parent = (*nodes)[place].parent) {
            (*nodes)[*parent].total += (*nodes)[place].total;
            if (--(*nodes)[*parent].childrenToCome > 0) {
                break;
            }
            ++finished;
            place = *parent;
        }
    }
    if (finished < nodes->size()) {
        return std::nullopt; // those of a ring wait for each other
    }
    std::vector<double> totals(nodes->size());
    std::transform(nodes->begin(), nodes->end(), totals.begin(), [](const Node& node) { return node.total; });
    return totals;
}

} // namespace tavo
