#pragma once

#include "base/DescribedError.h"
#include "config/AppConfig.h"

#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// An unknown setting, an invalid value, or a setting that is fixed in this version.
class SettingError final : public DescribedError {
public:
    using DescribedError::DescribedError;
};

/// A key of config.json and what it holds; a key within an object follows the object's with a dot.
struct Setting {
    std::string key;

    /// A string as it is, everything else as JSON.
    std::string value;

    bool operator==(const Setting&) const = default;
};

/// All settings, sorted by key. A trigger that came from no preset has a null "trigger.preset".
std::vector<Setting> settingsOf(const AppConfig& config);

/// The keys that can be read: those of settingsOf(), and "trigger" for the whole rule.
std::vector<std::string> settingKeys();

/// The keys that can be set.
std::vector<std::string> settableKeys();

/// The words that a setting takes: all of them for a choice, "none" for a limit, nothing for free text.
std::vector<std::string> namedValuesOf(std::string_view key);

/// The value of one of them, or with the key "trigger" the whole rule. @throws SettingError for an unknown key.
Json settingJson(const AppConfig& config, std::string_view key);

/// The same as a text. @throws SettingError for an unknown key.
std::string settingValue(const AppConfig& config, std::string_view key);

/// The configuration with one setting changed, validated.
/// @param value  as settingsOf() gives it; "none" is null too.
/// @throws SettingError
AppConfig withSetting(const AppConfig& config, std::string_view key, const std::string& value);

} // namespace tavo
