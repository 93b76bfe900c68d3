#pragma once

#include "config/AppConfig.h"

#include <string>
#include <string_view>

namespace tavo {

// What the controls of the settings window read from the draft, and how the draft changes when they are used.

/// The raw text of the rule's preset, or "custom" for a rule of its user's own.
std::string presetChoice(const AppConfig& draft);

/// The draft with a preset's rule, or with "custom": the rule that is there, in process mode and no preset's any more, which
/// never starts without a query. An unknown text changes nothing.
AppConfig withPresetChoice(AppConfig draft, std::string_view choice);

/// "no process needed", or "while app runs".
std::string triggerDetail(const AppConfig& draft);

/// Whether the rows are shown that make a rule of its user's own.
bool showsCustomProcess(const AppConfig& draft);

bool keepsAwakeWithClosedLid(const AppConfig& draft);

/// Switching on keeps a mode that covers the closed lid already.
AppConfig withClosedLid(AppConfig draft, bool isOn);
std::string closedLidDetail(const AppConfig& draft);

bool keepsAwakeOnBattery(const AppConfig& draft);

/// Switching on keeps a policy that allows the battery already.
AppConfig withBattery(AppConfig draft, bool isOn);
std::string batteryDetail(const AppConfig& draft);

/// The cutoff in decimal; empty for none.
std::string cutoffText(const AppConfig& draft);

/// Whether the field takes this text: nothing but digits, and no more of them than it has room for.
bool isCutoffText(std::string_view text);

/// @param text  one that isCutoffText() allows; its range is checked when the draft is saved.
AppConfig withCutoffText(AppConfig draft, std::string_view text);

} // namespace tavo
