#include "SideBySide.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <numeric>

namespace tavo {

std::vector<double> fastestOf(int repetitions, const std::vector<std::function<void()>>& ways) {
    using Clock = std::chrono::steady_clock;
    std::vector<double> fastest(ways.size(), std::numeric_limits<double>::infinity());
    std::vector<std::size_t> order(ways.size());
    std::iota(order.begin(), order.end(), 0);
    for (int repetition = 0; repetition < repetitions; ++repetition) {
        for (const auto way : order) {
            const auto start = Clock::now();
            ways[way]();
            fastest[way] = std::min(fastest[way], std::chrono::duration<double>(Clock::now() - start).count());
        }
        std::next_permutation(order.begin(), order.end());
    }
    return fastest;
}

void printSide(std::string_view row, std::string_view side, double value, std::string_view unit) {
    fmt::print("{}\t{}\t{:.6g}\t{}\n", row, side, value, unit);
}

} // namespace tavo
