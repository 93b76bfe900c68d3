#include "system/FreedMemory.h"

#include <malloc.h>

namespace tavo {

namespace {

/// A picture of an icon is larger. By default the bound grows with every large block that is freed, and later ones are
/// kept in the heap.
constexpr int largeBlock = 64 * 1024;

} // namespace

// mallopt(3): it reports no failure but for values out of range.
void returnFreedMemory() {
    mallopt(M_MMAP_THRESHOLD, largeBlock);
    mallopt(M_TRIM_THRESHOLD, largeBlock);
    // Each thread would get a heap of its own, and none of them allocates often.
    mallopt(M_ARENA_MAX, 1);
}

} // namespace tavo
