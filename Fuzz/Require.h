#pragma once

#include <cstdio>
#include <cstdlib>

namespace tavo {

/// Ends the program, which a fuzzer takes for a finding, when what must hold for every input does not hold.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

} // namespace tavo
