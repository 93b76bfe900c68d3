#pragma once

#include <cstdint>

namespace tavo {

/// How often this program has taken memory with `new` so far. The source replaces the operator, so it is linked into
/// programs that count.
std::uint64_t allocationsSoFar();

} // namespace tavo
