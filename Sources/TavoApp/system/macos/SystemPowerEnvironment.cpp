#include "system/macos/SystemPowerEnvironment.h"

namespace tavo {

PowerStatus SystemPowerEnvironment::currentStatus() const {
    return status(TavoCopyPowerSourceSnapshot());
}

PowerStatus SystemPowerEnvironment::status(const TavoPowerSourceSnapshot& snapshot) {
    PowerStatus status;
    status.source = snapshot.sourceKind == 1   ? CurrentPowerSource::ac
                    : snapshot.sourceKind == 2 ? CurrentPowerSource::battery
                                               : CurrentPowerSource::unknown;
    if (snapshot.hasBatteryPercent) {
        status.batteryPercent = snapshot.batteryPercent;
    }
    if (snapshot.hasChargingState) {
        status.isCharging = snapshot.isCharging;
    }
    return status;
}

} // namespace tavo
