#include "TavoControl/RunOverrides.h"

#include "base/JsonCoding.h"

namespace tavo {

AppConfig RunOverrides::appliedTo(AppConfig config) const {
    if (trigger) {
        config.trigger = *trigger;
        config.isEnabled = true;
    }
    config.powerSourcePolicy = powerSourcePolicy.value_or(config.powerSourcePolicy);
    config.batteryCutoffPercent = batteryCutoffPercent.value_or(config.batteryCutoffPercent);
    config.watchMode = watchMode.value_or(config.watchMode);
    return config;
}

bool RunOverrides::isEmpty() const {
    return !trigger && !powerSourcePolicy && !batteryCutoffPercent && !watchMode;
}

Json RunOverrides::json() const {
    auto object = Json::object();
    if (trigger) {
        object["trigger"] = *trigger;
    }
    if (powerSourcePolicy) {
        object["powerSourcePolicy"] = rawValue(*powerSourcePolicy);
    }
    if (batteryCutoffPercent) {
        object["batteryCutoffPercent"] = *batteryCutoffPercent ? Json(**batteryCutoffPercent) : Json();
    }
    if (watchMode) {
        object["watchMode"] = rawValue(*watchMode);
    }
    return object;
}

RunOverrides RunOverrides::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    RunOverrides overrides;
    overrides.trigger = reader.optional<TriggerRule>("trigger");
    overrides.powerSourcePolicy = reader.optional<PowerSourcePolicy>("powerSourcePolicy");
    if (reader.contains("batteryCutoffPercent")) {
        overrides.batteryCutoffPercent = reader.optional<std::int64_t>("batteryCutoffPercent");
    }
    overrides.watchMode = reader.optional<WatchMode>("watchMode");
    return overrides;
}

AppConfig OverridingStore::configInFile() const {
    try {
        return store->loadConfig();
    } catch (const std::exception&) {
        // The store keeps the unreadable file aside, so its content is not lost.
        return AppConfig::defaultConfig();
    }
}

void OverridingStore::saveConfig(const AppConfig& config) const {
    const auto inFile = configInFile();
    auto toSave = config;
    if (overrides.trigger) {
        toSave.trigger = inFile.trigger;
        toSave.isEnabled = inFile.isEnabled;
    }
    if (overrides.powerSourcePolicy) {
        toSave.powerSourcePolicy = inFile.powerSourcePolicy;
    }
    if (overrides.batteryCutoffPercent) {
        toSave.batteryCutoffPercent = inFile.batteryCutoffPercent;
    }
    if (overrides.watchMode) {
        toSave.watchMode = inFile.watchMode;
    }
    store->saveConfig(toSave);
}

} // namespace tavo
