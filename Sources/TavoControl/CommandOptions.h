#pragma once

#include "TavoControl/RunOverrides.h"
#include "runtime/WorkRequirement.h"

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace tavo {

/// The values of the command line's options, as given, before they are interpreted.
struct RawOptions {
    std::string root;
    bool always = false;
    std::string preset;
    std::string executable;
    std::string command;
    std::string power;
    std::string cutoff;
    std::string lid;
    std::string name;
    std::string key;
    std::string value;
    std::string state;
    bool whileWorking = false;
    bool cpu = false;
    std::string busy;
    std::string grace;
    std::string since;
    std::string length;
    std::string until;
    std::vector<std::string> processes;
    bool json = false;
};

/// A mistake in the arguments, as the start of a sentence.
struct UsageError : std::runtime_error {
    explicit UsageError(const std::string& text, std::optional<std::string> nearest = std::nullopt)
        : std::runtime_error(text), nearest(std::move(nearest)) {}

    /// The word that was most likely meant.
    std::optional<std::string> nearest;
};

// The options that several commands share, each with its help.

/// An option with one value, which must not be empty.
CLI::Option* addOption(CLI::App& command, const std::string& name, std::string& value, const std::string& description,
                       const std::string& valueName);

void addMatchOptions(CLI::App& command, RawOptions& raw, const std::string& group);
void addTriggerOptions(CLI::App& command, RawOptions& raw, bool withAlways);
CLI::Option* addBusyOption(CLI::App& command, RawOptions& raw);
void addWorkOptions(CLI::App& command, RawOptions& raw);

/// For commands that may be bounded by time.
void addBoundOptions(CLI::App& command, RawOptions& raw);

void addProcessOption(CLI::App& command, RawOptions& raw);

/// The policy within which to keep awake, instead of the configured one.
void addPolicyOptions(CLI::App& command, RawOptions& raw);

/// The trigger that --always, --preset, --executable or --command name. @throws UsageError for more than one of them.
std::optional<TriggerRule> triggerOf(const RawOptions& raw);

/// The rule of the preset of that name. @throws UsageError
TriggerRule presetNamed(const std::string& name);

/// The options that replace values of the configuration. @throws UsageError
RunOverrides overridesOf(const RawOptions& raw);

/// The requirement that --while-working, --busy and --grace describe; nothing without the first of them. @throws
/// UsageError
std::optional<WorkRequirement> workRequirementOf(const RawOptions& raw);

/// How far back --since goes; absent without it. @throws UsageError
std::optional<std::chrono::seconds> sinceOf(const RawOptions& raw);

/// The requirement that --cpu and --busy describe; nothing without the first of them. @throws UsageError
std::optional<WorkRequirement> cpuRequirementOf(const RawOptions& raw);

/// Whether "on" or "off" was given. @throws UsageError
bool loginStateOf(const RawOptions& raw);

} // namespace tavo
