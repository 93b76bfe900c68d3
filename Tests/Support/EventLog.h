#pragma once

#include <string>
#include <vector>

namespace tavo {

/// The calls of several scripted collaborators, in one order.
using EventLog = std::vector<std::string>;

} // namespace tavo
