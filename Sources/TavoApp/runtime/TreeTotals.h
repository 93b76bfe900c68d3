#pragma once

#include "system/ProcessSnapshot.h"

#include <optional>
#include <vector>

namespace tavo {

/// The CPU time in seconds of each process and everything below it, by its place in the table, in one pass over all of
/// them: trees that lie in each other are long to walk one by one.
///
/// Nothing where the links are no trees (parents in a ring, an id that stands there twice), as in a table that was read
/// while ids were reused.
std::optional<std::vector<double>> cpuTimeOfEachTree(const std::vector<ProcessSample>& processes);

} // namespace tavo
