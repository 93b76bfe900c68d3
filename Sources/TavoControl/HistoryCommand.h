#pragma once

#include "TavoControl/CommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "config/TavoStore.h"

namespace tavo {

/// Prints when this computer was kept awake, for what, and why it ended. @throws std::system_error, UntrustedPathError.
ExitStatus printHistory(const HistoryOptions& options, const TavoStoring& store);

} // namespace tavo
