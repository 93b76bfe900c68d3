#include "system/macos/SystemPowerEnvironment.h"

namespace {

using tavo::CoreFoundationRef;
using tavo::PowerSourceFunctions;

/// An object that was copied or created, released at the end of its scope. May hold nothing.
class Owned {
public:
    Owned(const PowerSourceFunctions& functions, CoreFoundationRef object) : functions(functions), object(object) {}
    Owned(const PowerSourceFunctions& functions, const char* text)
        : Owned(functions, functions.createString(nullptr, text, PowerSourceFunctions::utf8)) {}
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() {
        if (object != nullptr) {
            functions.release(object);
        }
    }

    CoreFoundationRef get() const { return object; }
    explicit operator bool() const { return object != nullptr; }

private:
    const PowerSourceFunctions& functions;
    CoreFoundationRef object;
};

std::int32_t sourceKind(const PowerSourceFunctions& functions, CoreFoundationRef info) {
    const CoreFoundationRef type = functions.getProvidingPowerSourceType(info);
    const auto isType = [&](const char* name) {
        const Owned expected(functions, name);
        return type != nullptr && expected && functions.equal(type, expected.get()) != 0;
    };
    return isType("AC Power") ? 1 : isType("Battery Power") ? 2 : 0;
}

CoreFoundationRef dictionaryValue(const PowerSourceFunctions& functions, CoreFoundationRef dictionary,
                                  CoreFoundationRef key) {
    // CoreFoundation takes no absent key; a string that could not be created is one.
    return key == nullptr ? nullptr : functions.dictionaryGetValue(dictionary, key);
}

/// Rounds half up. Capacities beyond all batteries wrap around at 32 bits instead of being undefined.
std::int32_t roundedPercent(std::int32_t current, std::int32_t maximum) {
    const std::uint32_t scaled = static_cast<std::uint32_t>(current) * 100U + static_cast<std::uint32_t>(maximum / 2);
    return static_cast<std::int32_t>(scaled) / maximum;
}

void readSources(const PowerSourceFunctions& functions, CoreFoundationRef info, CoreFoundationRef list,
                 TavoPowerSourceSnapshot& snapshot) {
    const Owned currentKey(functions, "Current Capacity");
    const Owned maximumKey(functions, "Max Capacity");
    const Owned chargingKey(functions, "Is Charging");
    const auto count = functions.arrayGetCount(list);
    for (PowerSourceFunctions::Index index = 0; index < count && !snapshot.hasBatteryPercent; ++index) {
        const auto description = functions.getPowerSourceDescription(info, functions.arrayGetValueAtIndex(list, index));
        if (description == nullptr) {
            continue;
        }
        // The flag counts even where the capacities are of no use.
        const auto charging = dictionaryValue(functions, description, chargingKey.get());
        if (charging != nullptr && functions.getTypeID(charging) == functions.booleanGetTypeID()) {
            snapshot.hasChargingState = true;
            snapshot.isCharging = functions.booleanGetValue(charging) != 0;
        }
        std::int32_t current = 0;
        std::int32_t maximum = 0;
        if (TavoGetDictionaryInt(functions, description, currentKey.get(), current) &&
            TavoGetDictionaryInt(functions, description, maximumKey.get(), maximum) && maximum >= 1) {
            snapshot.batteryPercent = roundedPercent(current, maximum);
            snapshot.hasBatteryPercent = true;
        }
    }
}

} // namespace

TavoPowerSourceSnapshot TavoCopyPowerSourceSnapshot() {
    const auto functions = PowerSourceFunctions::load();
    return functions ? TavoCopyPowerSourceSnapshot(*functions) : TavoPowerSourceSnapshot{};
}

TavoPowerSourceSnapshot TavoCopyPowerSourceSnapshot(const PowerSourceFunctions& functions) {
    TavoPowerSourceSnapshot snapshot;
    const Owned info(functions, functions.copyPowerSourcesInfo());
    if (!info) {
        return snapshot;
    }
    snapshot.sourceKind = sourceKind(functions, info.get());
    const Owned list(functions, functions.copyPowerSourcesList(info.get()));
    if (list) {
        readSources(functions, info.get(), list.get(), snapshot);
    }
    return snapshot;
}

bool TavoGetDictionaryInt(const PowerSourceFunctions& functions, CoreFoundationRef dictionary, CoreFoundationRef key,
                          std::int32_t& value) {
    const auto number = dictionaryValue(functions, dictionary, key);
    std::int32_t read = 0;
    // A conversion that fails may leave an approximation behind, which must not reach the caller.
    if (number == nullptr || functions.getTypeID(number) != functions.numberGetTypeID() ||
        functions.numberGetValue(number, PowerSourceFunctions::signed32Bit, &read) == 0) {
        return false;
    }
    value = read;
    return true;
}

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
