#pragma once

#include "CommandLine.h"
#include "ExitStatus.h"
#include "app/Platform.h"

namespace tavo {

/// Prints what the running Tavo does and what is really held. @throws ConfigurationError after all else was printed.
ExitStatus printStatus(const StatusOptions& options, const TavoStoring& store, const Platform& platform);

} // namespace tavo
