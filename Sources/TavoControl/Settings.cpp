#include "TavoControl/Settings.h"

#include "base/JsonCoding.h"
#include "base/NearestWord.h"
#include "config/TavoValidationError.h"
#include "system/DecimalText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>

namespace tavo {

namespace {

constexpr std::string_view presetKey = "trigger.preset";

/// Sets one field from its text. @throws SettingError
using Change = void (*)(AppConfig& config, std::string_view key, const std::string& value);

/// The end of a sentence: the word that was most likely meant, or what there is.
std::string nearestOr(std::string_view given, const std::vector<std::string>& words, const std::string& otherwise) {
    const auto nearest = nearestWord(given, words);
    return nearest ? didYouMean(nearest) : otherwise;
}

[[noreturn]] void refuse(std::string_view key, const std::string& choices, const std::string& value,
                         const std::vector<std::string>& words) {
    throw SettingError(fmt::format("{} takes {}, not \"{}\"{}", key, choices, value, nearestOr(value, words, ".")));
}

[[noreturn]] void refuseKey(std::string_view key) {
    std::vector<std::string> keys{"trigger"};
    for (const auto& setting : settingsOf(AppConfig::defaultConfig())) {
        keys.push_back(setting.key);
    }
    throw SettingError(
        fmt::format("there is no setting \"{}\"{}", key, nearestOr(key, keys, "; tavoctl get lists them all.")));
}

bool isNull(const std::string& value) {
    return value == "none" || value == "null";
}

template <typename Enumeration>
Enumeration choose(std::string_view key, const std::string& value) {
    if (const auto chosen = fromRawValue<Enumeration>(value)) {
        return *chosen;
    }
    std::vector<std::string> names;
    for (const auto choice : allCases<Enumeration>()) {
        names.emplace_back(rawValue(choice));
    }
    refuse(key, fmt::format("one of {}", fmt::join(names, ", ")), value, names);
}

bool chooseBool(std::string_view key, const std::string& value) {
    if (value != "true" && value != "false") {
        refuse(key, "true or false", value, {"true", "false"});
    }
    return value == "true";
}

std::optional<std::int64_t> chooseCutoff(std::string_view key, const std::string& value) {
    if (isNull(value)) {
        return std::nullopt;
    }
    const auto percent = parseInt32(value);
    if (!percent) {
        refuse(key, "a percentage from 1 to 100 or none", value, {"none"});
    }
    return percent;
}

/// A rule that is changed by hand is no longer the preset's.
void setTrigger(AppConfig& config, const TriggerRule& rule) {
    config.trigger = rule;
    config.trigger.preset.reset();
}

TriggerRule decodeTrigger(std::string_view key, const std::string& value) {
    try {
        return TriggerRule::fromJson(parseJson(value), std::string(key));
    } catch (const DecodingError& error) {
        throw SettingError(error.description());
    }
}

struct Entry {
    std::string_view key;
    Change change;
};

const std::array entries{
    Entry{"isEnabled", [](AppConfig& config, std::string_view key,
                          const std::string& value) { config.isEnabled = chooseBool(key, value); }},
    Entry{"watchMode", [](AppConfig& config, std::string_view key,
                          const std::string& value) { config.watchMode = choose<WatchMode>(key, value); }},
    Entry{"powerSourcePolicy",
          [](AppConfig& config, std::string_view key, const std::string& value) {
              config.powerSourcePolicy = choose<PowerSourcePolicy>(key, value);
          }},
    Entry{"batteryCutoffPercent",
          [](AppConfig& config, std::string_view key, const std::string& value) {
              config.batteryCutoffPercent = chooseCutoff(key, value);
          }},
    Entry{"launchAtLoginEnabled",
          [](AppConfig& config, std::string_view key, const std::string& value) {
              config.launchAtLoginEnabled = chooseBool(key, value);
          }},
    Entry{"trigger", [](AppConfig& config, std::string_view key,
                        const std::string& value) { config.trigger = decodeTrigger(key, value); }},
    Entry{presetKey,
          [](AppConfig& config, std::string_view key, const std::string& value) {
              if (isNull(value)) {
                  setTrigger(config, config.trigger);
              } else {
                  config.trigger = defaultRule(choose<TriggerPreset>(key, value));
              }
          }},
    Entry{"trigger.mode",
          [](AppConfig& config, std::string_view key, const std::string& value) {
              auto rule = config.trigger;
              rule.mode = choose<TriggerMode>(key, value);
              setTrigger(config, rule);
          }},
    Entry{"trigger.matchStrategy",
          [](AppConfig& config, std::string_view key, const std::string& value) {
              auto rule = config.trigger;
              rule.matchStrategy = choose<TriggerMatchStrategy>(key, value);
              setTrigger(config, rule);
          }},
    Entry{"trigger.query", [](AppConfig& config, std::string_view, const std::string& value) {
              auto rule = config.trigger;
              rule.mode = TriggerMode::process;
              rule.query = value;
              setTrigger(config, rule);
          }}};

struct Refusal {
    std::string_view key;
    std::string_view why;
};

constexpr std::array refusals{
    Refusal{"pollIntervalSeconds", "is fixed at 60 in this version, so it cannot be set."},
    Refusal{"maxAwakeDuration", "is fixed at none in this version, so it cannot be set."},
    Refusal{"trigger.requiresActivity", "is fixed at false in this version, so it cannot be set."},
    Refusal{"closedLidPermissionGranted",
            "tells whether the helper was installed for a closed lid: tavoctl helper install grants it, and tavoctl "
            "helper reset revokes it."}};

std::string textOf(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace

std::vector<Setting> settingsOf(const AppConfig& config) {
    std::vector<Setting> settings;
    auto object = Json(config);
    auto trigger = object["trigger"];
    object.erase("trigger");
    if (!trigger.contains("preset")) {
        trigger["preset"] = nullptr;
    }
    for (const auto& [key, value] : object.items()) {
        settings.push_back({key, textOf(value)});
    }
    for (const auto& [key, value] : trigger.items()) {
        settings.push_back({"trigger." + key, textOf(value)});
    }
    std::sort(settings.begin(), settings.end(),
              [](const Setting& left, const Setting& right) { return left.key < right.key; });
    return settings;
}

Json settingJson(const AppConfig& config, std::string_view key) {
    constexpr std::string_view triggerPrefix = "trigger.";
    const bool isOfTrigger = key.starts_with(triggerPrefix);
    const Json object = isOfTrigger ? Json(config.trigger) : Json(config);
    const auto found = object.find(isOfTrigger ? key.substr(triggerPrefix.size()) : key);
    if (found != object.end()) {
        return *found;
    }
    if (key == presetKey) {
        return nullptr;
    }
    refuseKey(key);
}

std::string settingValue(const AppConfig& config, std::string_view key) {
    return textOf(settingJson(config, key));
}

AppConfig withSetting(const AppConfig& config, std::string_view key, const std::string& value) {
    for (const auto& refusal : refusals) {
        if (refusal.key == key) {
            throw SettingError(fmt::format("{} {}", key, refusal.why));
        }
    }
    const auto* const entry =
        std::find_if(entries.begin(), entries.end(), [&](const Entry& candidate) { return candidate.key == key; });
    if (entry == entries.end()) {
        refuseKey(key);
    }
    auto changed = config;
    entry->change(changed, key, value);
    try {
        return changed.validated();
    } catch (const TavoValidationError& error) {
        throw SettingError(error.kind() == TavoValidationError::Kind::emptyTriggerQuery
                               ? "the trigger would have nothing to look for; name the process with tavoctl match."
                               : error.description());
    }
}

} // namespace tavo
