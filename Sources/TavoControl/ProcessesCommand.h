#pragma once

#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "app/Platform.h"

namespace tavo {

/// Lists the processes that the given, or else the configured, rule matches now.
/// @throws ConfigurationError when the configuration is needed and cannot be used.
ExitStatus printProcesses(const ProcessesOptions& options, const TavoStoring& store, const Platform& platform);

} // namespace tavo
