#pragma once

#include "TavoControl/SystemChecks.h"

#include <chrono>

namespace tavo {

/// Whether the desktop accepts the request to stay awake, tried out as the locks are: where one of its services runs, the
/// program that holds the assertion asks it, and releases everything again.
/// @param isNeeded  whether this desktop may suspend in spite of logind's lock, so that one of its services has to
///                  accept.
/// @param bound     how long the services may take to answer.
SystemCheck checkDesktop(const Platform& platform, bool isNeeded,
                         std::chrono::milliseconds bound = std::chrono::seconds{3});

} // namespace tavo
