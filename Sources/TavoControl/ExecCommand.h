#pragma once

#include "TavoControl/CommandChild.h"
#include "TavoControl/ControlCommandLine.h"
#include "app/Platform.h"

namespace tavo {

/// Runs a command and keeps awake meanwhile, within the configured policy or the one that the options name. Works next
/// to a running Tavo: takes no instance lock and writes neither configuration nor state.
///
/// A lock that is refused at the start is a failure, and the command is not run; later the command runs on without it.
/// @return the command's exit status as a shell has it, or one of tavoctl's own when the command was not run.
/// @throws ConfigurationError when the configuration cannot be used at the start, std::system_error.
int runCommandAwake(const ExecOptions& options, const std::shared_ptr<const TavoStoring>& store, Platform platform,
                    const InheritedConditions& conditions);

} // namespace tavo
