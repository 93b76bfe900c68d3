#pragma once

#include "TavoControl/OptionValues.h"

#include <string>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace tavo {

// The options that several commands share, each with its help.

/// An option with one value, which must not be empty.
CLI::Option* addOption(CLI::App& command, const std::string& name, std::string& value, const std::string& description,
                       const std::string& valueName);

void addMatchOptions(CLI::App& command, RawOptions& raw, const std::string& group);
void addTriggerOptions(CLI::App& command, RawOptions& raw, bool withAlways);
CLI::Option* addBusyOption(CLI::App& command, RawOptions& raw);
void addWorkOptions(CLI::App& command, RawOptions& raw);

/// For what may be bounded by time.
void addBoundOptions(CLI::App& command, RawOptions& raw);

void addProcessOption(CLI::App& command, RawOptions& raw);

/// Within which bounds to keep awake, in place of what the configuration says.
void addPolicyOptions(CLI::App& command, RawOptions& raw);

} // namespace tavo
