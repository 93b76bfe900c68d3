#include "runtime/ProcessTreeIndex.h"

namespace tavo {

ProcessTreeIndex::ProcessTreeIndex(const std::vector<ProcessSample>& processes) {
    processesByPID.reserve(processes.size());
    for (const auto& process : processes) {
        childrenByParentPID[process.parentPID].push_back(&process);
        processesByPID.emplace(process.pid, &process);
    }
}

std::vector<const ProcessSample*> ProcessTreeIndex::collectProcessTree(std::int32_t rootPID) const {
    std::vector<const ProcessSample*> tree;
    for (const auto pid : breadthFirst({rootPID})) {
        if (const auto process = processesByPID.find(pid); process != processesByPID.end()) {
            tree.push_back(process->second);
        }
    }
    return tree;
}

std::unordered_set<std::int32_t>
ProcessTreeIndex::descendantsAndSelf(const std::unordered_set<std::int32_t>& roots) const {
    const auto reached = breadthFirst({roots.begin(), roots.end()});
    return {reached.begin(), reached.end()};
}

std::vector<std::int32_t> ProcessTreeIndex::breadthFirst(std::vector<std::int32_t> queue) const {
    std::unordered_set<std::int32_t> visited(queue.begin(), queue.end());
    for (std::size_t next = 0; next < queue.size(); ++next) {
        const auto children = childrenByParentPID.find(queue[next]);
        if (children == childrenByParentPID.end()) {
            continue;
        }
        for (const auto* child : children->second) {
            if (visited.insert(child->pid).second) {
                queue.push_back(child->pid);
            }
        }
    }
    return queue;
}

} // namespace tavo
