#pragma once

#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/StatusReport.h"
#include "app/Platform.h"

#include <exception>

namespace tavo {

/// The state of the running Tavo and the locks really held.
/// @param configurationFailure  set when the configuration cannot be used; the facts then have the default one.
StatusFacts statusFacts(const TavoStoring& store, const Platform& platform, std::exception_ptr& configurationFailure);

/// Prints what the running Tavo does and what is really held. @throws ConfigurationError after all else was printed.
ExitStatus printStatus(const StatusOptions& options, const TavoStoring& store, const Platform& platform);

} // namespace tavo
