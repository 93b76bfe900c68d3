#include "runtime/TreeTotals.h"

#include "runtime/ProcessTreeIndex.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::Optional;

TEST(TreeTotals, AProcessHasItsOwnTimeAndThatOfEverythingBelow) {
    EXPECT_THAT(cpuTimeOfEachTree({{.pid = 1, .parentPID = 0, .cpuTimeSeconds = 1},
                                   {.pid = 4, .parentPID = 2, .cpuTimeSeconds = 8},
                                   {.pid = 2, .parentPID = 1, .cpuTimeSeconds = 2},
                                   {.pid = 3, .parentPID = 1, .cpuTimeSeconds = 4},
                                   {.pid = 9, .parentPID = 77, .cpuTimeSeconds = 16}}),
                Optional(ElementsAre(15, 8, 10, 4, 16)));
}

TEST(TreeTotals, AProcessThatIsItsOwnParentIsARoot) {
    EXPECT_THAT(cpuTimeOfEachTree(
                    {{.pid = 0, .parentPID = 0, .cpuTimeSeconds = 1}, {.pid = 1, .parentPID = 0, .cpuTimeSeconds = 2}}),
                Optional(ElementsAre(3, 2)));
}

TEST(TreeTotals, RingsAndIdsThatStandThereTwiceAreNoTrees) {
    EXPECT_EQ(cpuTimeOfEachTree({{.pid = 1, .parentPID = 2}, {.pid = 2, .parentPID = 1}, {.pid = 3}}), std::nullopt);
    EXPECT_EQ(cpuTimeOfEachTree({{.pid = 1}, {.pid = 2, .parentPID = 1}, {.pid = 1, .parentPID = 2}}), std::nullopt);
    EXPECT_THAT(cpuTimeOfEachTree({}), Optional(ElementsAre()));
}

TEST(TreeTotals, AreThoseOfWalkingEachTreeInRandomTables) {
    const auto* given = std::getenv("TAVO_SEED"); // NOLINT(concurrency-mt-unsafe): nobody changes it
    const auto seed = given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device{}();
    SCOPED_TRACE("TAVO_SEED=" + std::to_string(seed));
    std::mt19937 random(seed);
    int trees = 0;
    for (int round = 0; round < 300; ++round) {
        const auto size = 1 + random() % 40;
        std::vector<ProcessSample> processes;
        for (std::size_t place = 0; place < size; ++place) {
            // Most have a parent with a smaller id, as ever; a few links make rings, and a few ids come twice.
            const auto pid = static_cast<std::int32_t>(random() % 50 == 0 ? 1 + random() % size : place + 1);
            const auto parent = static_cast<std::int32_t>(random() % (random() % 50 == 0 ? size : place + 1));
            processes.push_back(
                {.pid = pid, .parentPID = parent, .cpuTimeSeconds = static_cast<double>(random() % 1000)});
        }
        std::shuffle(processes.begin(), processes.end(), random);
        const auto totals = cpuTimeOfEachTree(processes);
        const ProcessTreeIndex index(processes);
        for (std::size_t place = 0; totals && place < size; ++place) {
            double walked = 0;
            for (const auto* member : index.collectProcessTree(processes[place].pid)) {
                walked += member->cpuTimeSeconds;
            }
            ASSERT_EQ((*totals)[place], walked) << "process " << processes[place].pid << " in round " << round;
        }
        trees += totals ? 1 : 0;
    }
    EXPECT_GT(trees, 50);
    EXPECT_LT(trees, 290);
}

} // namespace
} // namespace tavo
