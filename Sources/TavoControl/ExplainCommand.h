#pragma once

#include "TavoControl/CommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "app/Platform.h"
#include "config/TavoStore.h"

namespace tavo {

/// Prints the decision step by step: of the running Tavo, or as it would be taken now. @throws ConfigurationError
ExitStatus printExplanation(const ExplainOptions& options, const TavoStoring& store, const Platform& platform);

} // namespace tavo
