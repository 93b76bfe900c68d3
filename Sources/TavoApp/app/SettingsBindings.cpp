#include "app/SettingsBindings.h"

#include "base/Text.h"

#include <algorithm>

namespace tavo {

namespace {

constexpr std::string_view customChoice = "custom";
constexpr const char* firstCustomQuery = "codex";
constexpr std::size_t maxDigits = 4;

} // namespace

std::string presetChoice(const AppConfig& draft) {
    return std::string(draft.trigger.preset ? rawValue(*draft.trigger.preset) : customChoice);
}

AppConfig withPresetChoice(AppConfig draft, std::string_view choice) {
    if (const auto preset = fromRawValue<TriggerPreset>(choice)) {
        draft.trigger = defaultRule(*preset);
    } else if (choice == customChoice) {
        draft.trigger.mode = TriggerMode::process;
        draft.trigger.preset.reset();
        if (trimWhitespaceAndNewlines(draft.trigger.query).empty()) {
            draft.trigger.query = firstCustomQuery;
        }
    }
    return draft;
}

std::string triggerDetail(const AppConfig& draft) {
    return draft.trigger.mode == TriggerMode::always ? "no process needed" : "while app runs";
}

bool showsCustomProcess(const AppConfig& draft) {
    return draft.trigger.mode == TriggerMode::process && !draft.trigger.preset;
}

bool keepsAwakeWithClosedLid(const AppConfig& draft) {
    return draft.watchMode != WatchMode::open;
}

AppConfig withClosedLid(AppConfig draft, bool isOn) {
    if (!isOn) {
        draft.watchMode = WatchMode::open;
    } else if (draft.watchMode == WatchMode::open) {
        draft.watchMode = WatchMode::both;
    }
    return draft;
}

std::string closedLidDetail(const AppConfig& draft) {
    return keepsAwakeWithClosedLid(draft) ? "warning: overheating risk" : "requires extra permission";
}

bool keepsAwakeOnBattery(const AppConfig& draft) {
    return draft.powerSourcePolicy != PowerSourcePolicy::acOnly;
}

AppConfig withBattery(AppConfig draft, bool isOn) {
    if (!isOn) {
        draft.powerSourcePolicy = PowerSourcePolicy::acOnly;
    } else if (draft.powerSourcePolicy == PowerSourcePolicy::acOnly) {
        draft.powerSourcePolicy = PowerSourcePolicy::any;
    }
    return draft;
}

std::string batteryDetail(const AppConfig& draft) {
    return keepsAwakeOnBattery(draft) ? "will drain battery faster" : "on power adapter only";
}

std::string cutoffText(const AppConfig& draft) {
    return draft.batteryCutoffPercent ? std::to_string(*draft.batteryCutoffPercent) : "";
}

bool isCutoffText(std::string_view text) {
    return text.size() <= maxDigits &&
           std::all_of(text.begin(), text.end(), [](char character) { return character >= '0' && character <= '9'; });
}

AppConfig withCutoffText(AppConfig draft, std::string_view text) {
    draft.batteryCutoffPercent.reset();
    for (const char digit : text) {
        constexpr int base = 10;
        draft.batteryCutoffPercent = draft.batteryCutoffPercent.value_or(0) * base + (digit - '0');
    }
    return draft;
}

} // namespace tavo
