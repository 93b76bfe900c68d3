#include "base/PowerStatus.h"

#include "base/JsonCoding.h"

namespace tavo {

PowerStatus PowerStatus::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    return {.source = reader.required<CurrentPowerSource>("source"),
            .batteryPercent = reader.optional<std::int64_t>("batteryPercent"),
            .isCharging = reader.optional<bool>("isCharging")};
}

void to_json(Json& json, const PowerStatus& status) {
    json = Json{{"source", rawValue(status.source)}};
    if (status.batteryPercent) {
        json["batteryPercent"] = *status.batteryPercent;
    }
    if (status.isCharging) {
        json["isCharging"] = *status.isCharging;
    }
}

} // namespace tavo
