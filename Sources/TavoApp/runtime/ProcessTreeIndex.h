#pragma once

#include "system/ProcessSnapshot.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace tavo {

/// The samples of one snapshot, by parent and by process id. Points into the snapshot.
class ProcessTreeIndex {
public:
    explicit ProcessTreeIndex(const std::vector<ProcessSample>& processes);

    /// The process and everything below it, level by level. A process is visited once, also when parent links form a
    /// loop; a root that is not in the snapshot has no sample of its own.
    std::vector<const ProcessSample*> collectProcessTree(std::int32_t rootPID) const;

    /// The given processes and all their descendants, also those of the given ones that are not in the snapshot.
    std::unordered_set<std::int32_t> descendantsAndSelf(const std::unordered_set<std::int32_t>& roots) const;

private:
    /// Every process id that the children links lead to from those in `queue`, these first.
    std::vector<std::int32_t> breadthFirst(std::vector<std::int32_t> queue) const;

    std::unordered_map<std::int32_t, std::vector<const ProcessSample*>> childrenByParentPID;
    std::unordered_map<std::int32_t, const ProcessSample*> processesByPID;
};

/// A matched process and everything below it at one moment.
struct ProcessTreeMeasurement {
    std::int32_t rootPID = 0;

    /// Of the root.
    std::string executableName;

    /// In seconds, over the whole tree.
    double totalCPUTime = 0;
    std::unordered_set<std::int32_t> processIDs;

    bool operator==(const ProcessTreeMeasurement&) const = default;
};

} // namespace tavo
