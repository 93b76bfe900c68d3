#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>

namespace tavo {

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
