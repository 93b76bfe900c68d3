#pragma once

#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/SystemChecks.h"

namespace tavo {

/// Prints each thing that Tavo needs, whether it is there, and what to do if not. Returns the status of the worst
/// finding.
ExitStatus printChecks(const DoctorOptions& options, const std::vector<SystemCheck>& checks);

} // namespace tavo
