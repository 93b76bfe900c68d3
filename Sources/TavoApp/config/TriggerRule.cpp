#include "config/TriggerRule.h"

#include "base/JsonCoding.h"
#include "base/Text.h"
#include "config/TavoValidationError.h"

namespace tavo {

namespace {

struct PresetEntry {
    TriggerPreset preset;
    std::string_view displayName;
    TriggerMode mode;
    TriggerMatchStrategy matchStrategy;
    std::string_view query;
};

constexpr std::array<PresetEntry, 4> presets{{
    {TriggerPreset::always, "always on", TriggerMode::always, TriggerMatchStrategy::commandLineContains, ""},
    {TriggerPreset::codex, "codex", TriggerMode::process, TriggerMatchStrategy::commandLineContains, "codex"},
    {TriggerPreset::claudeCode, "claude code", TriggerMode::process, TriggerMatchStrategy::commandLineContains,
     "claude"},
    {TriggerPreset::cursor, "cursor", TriggerMode::process, TriggerMatchStrategy::executableName, "Cursor"},
}};

const PresetEntry& entryOf(TriggerPreset preset) {
    return presets.at(static_cast<std::size_t>(preset));
}

static_assert(presets[0].preset == TriggerPreset::always && presets[1].preset == TriggerPreset::codex &&
                  presets[2].preset == TriggerPreset::claudeCode && presets[3].preset == TriggerPreset::cursor,
              "the table stands in the order of the cases");

} // namespace

std::string_view displayName(TriggerPreset preset) {
    return entryOf(preset).displayName;
}

TriggerRule defaultRule(TriggerPreset preset) {
    const auto& entry = entryOf(preset);
    return {.mode = entry.mode,
            .preset = preset,
            .matchStrategy = entry.matchStrategy,
            .query = std::string(entry.query),
            .requiresActivity = false};
}

TriggerRule TriggerRule::fromPreset(TriggerPreset preset) {
    return defaultRule(preset);
}

TriggerRule TriggerRule::validated() const {
    if (mode == TriggerMode::always || preset == TriggerPreset::always) {
        return defaultRule(TriggerPreset::always);
    }
    auto result = *this;
    result.query = trimWhitespaceAndNewlines(query);
    if (result.query.empty()) {
        throw TavoValidationError::emptyTriggerQuery();
    }
    result.requiresActivity = false;
    return result;
}

TriggerRule TriggerRule::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    const auto preset = reader.optional<TriggerPreset>("preset");
    const auto modeWithoutKey = preset == TriggerPreset::always ? TriggerMode::always : TriggerMode::process;
    return {
        .mode = reader.optional<TriggerMode>("mode").value_or(modeWithoutKey),
        .preset = preset,
        .matchStrategy =
            reader.optional<TriggerMatchStrategy>("matchStrategy").value_or(TriggerMatchStrategy::commandLineContains),
        .query = reader.optional<std::string>("query").value_or(""),
        .requiresActivity = reader.optional<bool>("requiresActivity").value_or(false)};
}

TriggerPreset JsonDecoder<TriggerPreset>::decode(const Json& value, const std::string& path) {
    const auto raw = JsonDecoder<std::string>::decode(value, path);
    if (raw == "codexCLI") {
        return TriggerPreset::codex;
    }
    const auto preset = fromRawValue<TriggerPreset>(raw);
    if (!preset) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, path, "invalid trigger preset: " + raw);
    }
    return *preset;
}

void to_json(Json& json, const TriggerRule& rule) {
    json = Json{{"mode", rawValue(rule.mode)},
                {"matchStrategy", rawValue(rule.matchStrategy)},
                {"query", rule.query},
                {"requiresActivity", rule.requiresActivity}};
    if (rule.preset) {
        json["preset"] = rawValue(*rule.preset);
    }
}

} // namespace tavo
