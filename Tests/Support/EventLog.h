#pragma once

#include <string>
#include <vector>

namespace tavo {

/// What several scripted collaborators were asked, in one order.
using EventLog = std::vector<std::string>;

} // namespace tavo
