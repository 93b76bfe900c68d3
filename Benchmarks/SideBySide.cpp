#include "SideBySide.h"

#include <fmt/format.h>
#include <sys/resource.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <numeric>

namespace tavo {

namespace {

double secondsUsed() {
    constexpr double nanoseconds = 1e-9;
    constexpr double microseconds = 1e-6;
    timespec own{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &own);
    rusage children{};
    getrusage(RUSAGE_CHILDREN, &children);
    return static_cast<double>(own.tv_sec + children.ru_utime.tv_sec + children.ru_stime.tv_sec) +
           nanoseconds * static_cast<double>(own.tv_nsec) +
           microseconds * static_cast<double>(children.ru_utime.tv_usec + children.ru_stime.tv_usec);
}

} // namespace

std::vector<double> fastestOf(int repetitions, const std::vector<std::function<void()>>& ways) {
    std::vector<double> fastest(ways.size(), std::numeric_limits<double>::infinity());
    std::vector<std::size_t> order(ways.size());
    std::iota(order.begin(), order.end(), 0);
    for (int repetition = 0; repetition < repetitions; ++repetition) {
        for (const auto way : order) {
            const double before = secondsUsed();
            ways[way]();
            fastest[way] = std::min(fastest[way], secondsUsed() - before);
        }
        std::next_permutation(order.begin(), order.end());
    }
    return fastest;
}

void printSide(std::string_view row, std::string_view side, double value, std::string_view unit) {
    fmt::print("{}\t{}\t{:.6g}\t{}\n", row, side, value, unit);
}

} // namespace tavo
