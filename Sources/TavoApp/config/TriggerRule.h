#pragma once

#include "base/Json.h"
#include "base/RawValues.h"

#include <optional>
#include <string>
#include <string_view>

namespace tavo {

enum class TriggerMode { always, process };

/// How the watched process is recognised.
enum class TriggerMatchStrategy { executableName, commandLineContains };

/// The named rules that are offered to the user.
enum class TriggerPreset { always, codex, claudeCode, cursor };

template <>
struct RawValues<TriggerMode> {
    static constexpr RawValueTable<TriggerMode, 2> table{{
        {TriggerMode::always, "always"},
        {TriggerMode::process, "process"},
    }};
};

template <>
struct RawValues<TriggerMatchStrategy> {
    static constexpr RawValueTable<TriggerMatchStrategy, 2> table{{
        {TriggerMatchStrategy::executableName, "executableName"},
        {TriggerMatchStrategy::commandLineContains, "commandLineContains"},
    }};
};

template <>
struct RawValues<TriggerPreset> {
    static constexpr RawValueTable<TriggerPreset, 4> table{{
        {TriggerPreset::always, "always"},
        {TriggerPreset::codex, "codex"},
        {TriggerPreset::claudeCode, "claudeCode"},
        {TriggerPreset::cursor, "cursor"},
    }};
};

/// The condition under which the machine is kept awake.
struct TriggerRule {
    TriggerMode mode = TriggerMode::always;

    /// The preset that the rule came from; absent for one made by hand.
    std::optional<TriggerPreset> preset;
    TriggerMatchStrategy matchStrategy = TriggerMatchStrategy::commandLineContains;

    /// An executable's name or a part of a command line.
    std::string query;

    /// In process mode, also require that the matched process tree uses CPU time.
    bool requiresActivity = false;

    bool operator==(const TriggerRule&) const = default;

    /// The preset's default rule. Not a constructor, so that the field `preset` keeps its short name.
    static TriggerRule fromPreset(TriggerPreset preset);

    /// The rule as the engine obeys it: the always rule in its one form, or a process rule with its query trimmed. The
    /// activity requirement is switched off in this version, so it never survives.
    /// @throws TavoValidationError (emptyTriggerQuery) for a process rule without a query.
    TriggerRule validated() const;

    /// Every key may be missing. @throws DecodingError naming the key.
    static TriggerRule fromJson(const Json& value, const std::string& path = {});
};

/// How the preset is called in pickers.
std::string_view displayName(TriggerPreset preset);

/// The rule that the preset stands for.
TriggerRule defaultRule(TriggerPreset preset);

/// Reads a preset from a single string, under its former name "codexCLI" too.
template <>
struct JsonDecoder<TriggerPreset> {
    /// @throws DecodingError (dataCorrupted) "invalid trigger preset: ..." for an unknown string.
    static TriggerPreset decode(const Json& value, const std::string& path);
};

void to_json(Json& json, const TriggerRule& rule);

} // namespace tavo
