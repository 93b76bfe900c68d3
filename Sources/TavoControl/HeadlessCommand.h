#pragma once

#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "app/Platform.h"
#include "config/TavoStore.h"

#include <optional>
#include <string>

namespace tavo {

/// Switches the run without a desktop on or off, and says what the user has to know about it. Where that run reads other
/// files than this process, they are the ones that count.
/// @throws ConfigurationError when the service could not use run.conf or config.json, with nothing changed;
///         HeadlessLaunchError and what else HeadlessLaunchManaging throws.
ExitStatus switchHeadlessRun(const HeadlessOptions& options, const TavoStoring& store, const Platform& platform);

/// A note for somebody who switches the desktop app's launch at login while the run without a desktop is on;
/// nothing when that is off.
std::optional<std::string> headlessRunNote(bool launchAtLoginEnabled, const Platform& platform);

} // namespace tavo
