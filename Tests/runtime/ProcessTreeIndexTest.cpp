#include "runtime/ProcessTreeIndex.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

ProcessSample sample(std::int32_t pid, std::int32_t parent) {
    return {.pid = pid, .parentPID = parent};
}

std::vector<std::int32_t> tree(const std::vector<ProcessSample>& processes, std::int32_t root) {
    std::vector<std::int32_t> pids;
    for (const auto* member : ProcessTreeIndex(processes).collectProcessTree(root)) {
        pids.push_back(member->pid);
    }
    return pids;
}

TEST(ProcessTreeIndex, ATreeIsListedLevelByLevelInSnapshotOrder) {
    EXPECT_THAT(
        tree({sample(9, 3), sample(3, 1), sample(1, 0), sample(4, 1), sample(8, 4), sample(7, 3), sample(5, 2)}, 1),
        ElementsAre(1, 3, 4, 9, 7, 8));
}

TEST(ProcessTreeIndex, ALoopIsVisitedOnce) {
    EXPECT_THAT(tree({sample(1, 3), sample(2, 1), sample(3, 2)}, 1), ElementsAre(1, 2, 3));
    EXPECT_THAT(tree({sample(5, 5)}, 5), ElementsAre(5));
}

TEST(ProcessTreeIndex, ARootThatIsNotThereHasItsChildrenOnly) {
    EXPECT_THAT(tree({sample(2, 1), sample(3, 2)}, 1), ElementsAre(2, 3));
    EXPECT_THAT(tree({}, 1), IsEmpty());
}

TEST(ProcessTreeIndex, DescendantsComeWithTheRootsThemselves) {
    const std::vector<ProcessSample> processes{sample(1, 0), sample(2, 1), sample(3, 2), sample(4, 0), sample(6, 5)};
    EXPECT_THAT(ProcessTreeIndex(processes).descendantsAndSelf({2, 5}), UnorderedElementsAre(2, 3, 5, 6));
}

} // namespace
} // namespace tavo
