#pragma once

#include "system/ProcessSnapshot.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace tavo {

/// Where each process stands in a table. One piece of memory, whatever the table's size.
class ProcessPlaces {
public:
    explicit ProcessPlaces(const std::vector<ProcessSample>& processes);

    /// The first place, should an id stand there twice; nothing when it does not.
    std::optional<std::size_t> find(std::int32_t pid) const;

private:
    std::vector<std::pair<std::int32_t, std::size_t>> placeOfPID;
};

} // namespace tavo
