#pragma once

#include "system/PowerEnvironmentProviding.h"
#include "system/macos/PowerSourceSnapshot.h"

namespace tavo {

/// The power of a Mac, from IOKit's power sources. Where there is no IOKit, everything is unknown.
struct SystemPowerEnvironment final : PowerEnvironmentProviding {
    PowerStatus currentStatus() const override;

    /// What a snapshot means.
    static PowerStatus status(const TavoPowerSourceSnapshot& snapshot);
};

} // namespace tavo
