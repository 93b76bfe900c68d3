#pragma once

#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "app/Platform.h"
#include "config/TavoStore.h"

namespace tavo {

/// Shows the explanation of the decision live until a signal ends it: on a terminal as a screen, elsewhere as one line
/// for each change.
/// @throws ConfigurationError when the configuration cannot be used at the start, OutputError.
ExitStatus watchLive(const WatchOptions& options, const TavoStoring& store, const Platform& platform);

} // namespace tavo
