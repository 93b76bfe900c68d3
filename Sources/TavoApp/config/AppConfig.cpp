#include "config/AppConfig.h"

#include "base/JsonCoding.h"
#include "config/TavoValidationError.h"

namespace tavo {

namespace {

constexpr std::int64_t lowestCutoffPercent = 1;
constexpr std::int64_t highestCutoffPercent = 100;

std::optional<std::int64_t> decodeCutoff(const JsonObjectReader& reader) {
    if (!reader.contains("batteryCutoffPercent")) {
        return AppConfig::defaultBatteryCutoffPercent;
    }
    return reader.optional<std::int64_t>("batteryCutoffPercent");
}

bool isAllowed(PowerSourcePolicy policy, CurrentPowerSource source) {
    return policy == PowerSourcePolicy::any ||
           (policy == PowerSourcePolicy::acOnly && source == CurrentPowerSource::ac) ||
           (policy == PowerSourcePolicy::batteryOnly && source == CurrentPowerSource::battery);
}

} // namespace

std::optional<double> duration(MaxAwakeDuration bound) {
    switch (bound) {
    case MaxAwakeDuration::none:
        return std::nullopt;
    case MaxAwakeDuration::oneHour:
        return 3600.0;
    case MaxAwakeDuration::eightHours:
        return 28800.0;
    }
    return std::nullopt;
}

AppConfig AppConfig::validated() const {
    auto result = *this;
    result.trigger = trigger.validated();
    result.maxAwakeDuration = fixedMaxAwakeDuration;
    result.pollIntervalSeconds = fixedPollIntervalSeconds;
    if (batteryCutoffPercent &&
        (*batteryCutoffPercent < lowestCutoffPercent || *batteryCutoffPercent > highestCutoffPercent)) {
        throw TavoValidationError::invalidBatteryCutoffPercent(*batteryCutoffPercent);
    }
    return result;
}

AppConfig AppConfig::appLaunchBaseline() const {
    auto result = enabledWithoutProcessTrigger();
    result.isEnabled = false;
    return result;
}

AppConfig AppConfig::enabledWithoutProcessTrigger() const {
    auto result = *this;
    result.isEnabled = true;
    result.trigger = defaultRule(TriggerPreset::always);
    return result;
}

AppConfig AppConfig::enabledForCurrentPowerSource(const PowerStatus& status) const {
    auto result = enabledWithoutProcessTrigger();
    if (!isAllowed(powerSourcePolicy, status.source)) {
        result.powerSourcePolicy = PowerSourcePolicy::any;
    }
    return result;
}

AppConfig AppConfig::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    return {.isEnabled = reader.required<bool>("isEnabled"),
            .watchMode = reader.required<WatchMode>("watchMode"),
            .powerSourcePolicy = reader.required<PowerSourcePolicy>("powerSourcePolicy"),
            .maxAwakeDuration = reader.required<MaxAwakeDuration>("maxAwakeDuration"),
            .batteryCutoffPercent = decodeCutoff(reader),
            .pollIntervalSeconds = reader.required<std::int64_t>("pollIntervalSeconds"),
            .trigger = reader.required<TriggerRule>("trigger"),
            .launchAtLoginEnabled = reader.required<bool>("launchAtLoginEnabled"),
            .closedLidPermissionGranted = reader.optional<bool>("closedLidPermissionGranted").value_or(true)};
}

void to_json(Json& json, const AppConfig& config) {
    json = Json{{"isEnabled", config.isEnabled},
                {"watchMode", rawValue(config.watchMode)},
                {"powerSourcePolicy", rawValue(config.powerSourcePolicy)},
                {"maxAwakeDuration", rawValue(config.maxAwakeDuration)},
                {"batteryCutoffPercent", nullptr},
                {"pollIntervalSeconds", config.pollIntervalSeconds},
                {"trigger", config.trigger},
                {"launchAtLoginEnabled", config.launchAtLoginEnabled},
                {"closedLidPermissionGranted", config.closedLidPermissionGranted}};
    if (config.batteryCutoffPercent) {
        json["batteryCutoffPercent"] = *config.batteryCutoffPercent;
    }
}

} // namespace tavo
