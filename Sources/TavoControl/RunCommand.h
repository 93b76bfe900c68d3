#pragma once

#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/ServiceNotification.h"
#include "app/Platform.h"

namespace tavo {

/// Runs the evaluations in the foreground until a signal or a failure ends them, and prints a line for every change.
/// @param notification  is told when the first evaluation has succeeded, of every change, and of the end.
/// @throws ConfigurationError when the configuration cannot be used at the start, std::system_error.
ExitStatus runInForeground(const RunOptions& options, std::shared_ptr<const TavoStoring> store, Platform platform,
                           ServiceNotification notification = {});

} // namespace tavo
