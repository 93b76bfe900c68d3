#pragma once

#include "config/AppConfig.h"

#include <string>
#include <string_view>

namespace tavo {

// Maps the controls of the settings window to the draft: the value each shows, and how the draft changes when it is
// used.

/// The raw text of the rule's preset, or "custom" for the user's own rule.
std::string presetChoice(const AppConfig& draft);

/// The draft with the preset's rule. "custom" keeps the present rule, in process mode and without its preset, and gives
/// it a query if it has none. An unknown text changes nothing.
AppConfig withPresetChoice(AppConfig draft, std::string_view choice);

/// "no process needed", or "while app runs".
std::string triggerDetail(const AppConfig& draft);

/// Whether the rows for the user's own rule are shown.
bool showsCustomProcess(const AppConfig& draft);

bool keepsAwakeWithClosedLid(const AppConfig& draft);

/// Switching on keeps a mode that already covers the closed lid.
AppConfig withClosedLid(AppConfig draft, bool isOn);
std::string closedLidDetail(const AppConfig& draft);

bool keepsAwakeOnBattery(const AppConfig& draft);

/// Switching on keeps a policy that already allows the battery.
AppConfig withBattery(AppConfig draft, bool isOn);
std::string batteryDetail(const AppConfig& draft);

/// The cutoff in decimal; empty for none.
std::string cutoffText(const AppConfig& draft);

/// Whether the field accepts this text: digits only, and no more than fit.
bool isCutoffText(std::string_view text);

/// @param text  one that isCutoffText() allows; its range is checked when the draft is saved.
AppConfig withCutoffText(AppConfig draft, std::string_view text);

} // namespace tavo
