#pragma once

#include <functional>
#include <string_view>
#include <vector>

namespace tavo {

/// Runs each of the ways in turn, `repetitions` times, in another order each time. Returns the seconds of CPU time that
/// each took when it was fastest, those of the programs that it ran and waited for among them: the time on the clock has
/// that of everybody else in it, and whatever else a machine does can only add.
std::vector<double> fastestOf(int repetitions, const std::vector<std::function<void()>>& ways);

/// One side of a row, as scripts/compare reads it from a probe.
void printSide(std::string_view row, std::string_view side, double value, std::string_view unit);

} // namespace tavo
