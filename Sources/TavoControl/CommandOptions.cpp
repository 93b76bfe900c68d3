#include "TavoControl/CommandOptions.h"

#include "base/Duration.h"
#include "base/NearestWord.h"
#include "config/TavoValidationError.h"
#include "system/DecimalText.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

namespace tavo {

namespace {

/// Names on the command line with what they stand for.
template <typename Value>
using Choices = std::vector<std::pair<std::string, Value>>;

const Choices<PowerSourcePolicy> powerChoices{
    {"any", PowerSourcePolicy::any}, {"ac", PowerSourcePolicy::acOnly}, {"battery", PowerSourcePolicy::batteryOnly}};
const Choices<WatchMode> lidChoices{
    {"open", WatchMode::open}, {"closed", WatchMode::closed}, {"both", WatchMode::both}};

Choices<TriggerPreset> presetChoices() {
    Choices<TriggerPreset> choices;
    for (const auto preset : allCases<TriggerPreset>()) {
        choices.emplace_back(rawValue(preset), preset);
    }
    return choices;
}

template <typename Value>
std::optional<Value> choose(const Choices<Value>& choices, const std::string& option, const std::string& given) {
    if (given.empty()) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (const auto& [name, value] : choices) {
        if (name == given) {
            return value;
        }
        names.push_back(name);
    }
    throw UsageError(fmt::format("{} takes one of {}, not \"{}\"", option, fmt::join(names, ", "), given),
                     nearestWord(given, names));
}

std::optional<std::optional<std::int64_t>> chooseCutoff(const std::string& given) {
    if (given.empty()) {
        return std::nullopt;
    }
    if (given == "none") {
        return std::optional<std::int64_t>();
    }
    AppConfig config;
    config.batteryCutoffPercent = parseInt32(given);
    try {
        if (config.batteryCutoffPercent) {
            return config.validated().batteryCutoffPercent;
        }
    } catch (const TavoValidationError&) {
        // Said below in the words of this option.
    }
    throw UsageError(fmt::format("--cutoff takes a percentage from 1 to 100 or none, not \"{}\"", given),
                     nearestWord(given, {"none"}));
}

TriggerRule customRule(TriggerMatchStrategy strategy, const std::string& option, const std::string& query) {
    try {
        return TriggerRule{.mode = TriggerMode::process, .matchStrategy = strategy, .query = query}.validated();
    } catch (const TavoValidationError&) {
        throw UsageError(option + " needs more than white space");
    }
}

/// @param option  without which the others have no meaning.
std::optional<WorkRequirement> requirementWith(bool isAskedFor, const std::string& option, const RawOptions& raw) {
    if (!isAskedFor) {
        if (!raw.busy.empty() || !raw.grace.empty()) {
            throw UsageError(fmt::format("{} needs {}", raw.busy.empty() ? "--grace" : "--busy", option));
        }
        return std::nullopt;
    }
    try {
        return WorkRequirement::fromOptions(raw.busy, raw.grace);
    } catch (const WorkRequirementError& error) {
        throw UsageError(error.description());
    }
}

} // namespace

CLI::Option* addOption(CLI::App& command, const std::string& name, std::string& value, const std::string& description,
                       const std::string& valueName) {
    auto* option = command.add_option(name, value, description)->type_name(valueName);
    option->each([name](const std::string& given) {
        if (given.empty()) {
            // An unset variable of a script, which does not mean the default.
            throw UsageError(name + " must not be empty");
        }
    });
    return option;
}

void addMatchOptions(CLI::App& command, RawOptions& raw, const std::string& group) {
    addOption(command, "--executable", raw.executable, "while an executable of this name runs", "NAME")->group(group);
    addOption(command, "--command", raw.command, "while a process runs whose command line holds this text", "TEXT")
        ->group(group);
}

void addTriggerOptions(CLI::App& command, RawOptions& raw, bool withAlways) {
    const std::string group = "Trigger, at most one of them";
    if (withAlways) {
        command.add_flag("--always", raw.always, "always")->disable_flag_override()->group(group);
    }
    const std::string presets = withAlways ? "codex, claudeCode, cursor, or always" : "codex, claudeCode, cursor";
    addOption(command, "--preset", raw.preset, "while the preset's program runs: " + presets, "NAME")->group(group);
    addMatchOptions(command, raw, group);
}

CLI::Option* addBusyOption(CLI::App& command, RawOptions& raw) {
    return addOption(command, "--busy", raw.busy, "the share of a core above which it counts as working; 1 by default",
                     "PERCENT");
}

void addWorkOptions(CLI::App& command, RawOptions& raw) {
    const std::string group = "With a process trigger";
    command.add_flag("--while-working", raw.whileWorking, "only while a matched program works")
        ->disable_flag_override()
        ->group(group);
    addBusyOption(command, raw)->group(group);
    addOption(command, "--grace", raw.grace, "how long to go on after the last work: 90s, 45m, 2h, 0; 10m by default",
              "DURATION")
        ->group(group);
}

void addBoundOptions(CLI::App& command, RawOptions& raw) {
    const std::string group = "End";
    addOption(command, "--for", raw.length, "end after this time: 90s, 45m, 2h, 1h30m", "DURATION")->group(group);
    addOption(command, "--until", raw.until, "end at this time of the day, the next time that it comes", "HH:MM")
        ->group(group);
}

void addProcessOption(CLI::App& command, RawOptions& raw) {
    command
        .add_option("--pid", raw.processes, "while this process runs, and end with it; for more than one, repeat it")
        ->type_name("PID")
        ->allow_extra_args(false)
        ->group("Trigger, at most one of them");
}

void addPolicyOptions(CLI::App& command, RawOptions& raw) {
    addOption(command, "--power", raw.power, "the power source to stay awake on: any, ac, battery", "SOURCE");
    addOption(command, "--cutoff", raw.cutoff, "stop at this battery percentage: 1 to 100, or none", "PERCENT");
    addOption(command, "--lid", raw.lid, "stay awake with the lid open, closed, or both", "STATE");
}

std::optional<TriggerRule> triggerOf(const RawOptions& raw) {
    const int given = (raw.always ? 1 : 0) + (raw.preset.empty() ? 0 : 1) + (raw.executable.empty() ? 0 : 1) +
                      (raw.command.empty() ? 0 : 1);
    if (given > 1) {
        throw UsageError("only one of --always, --preset, --executable and --command can be the trigger");
    }
    if (raw.always) {
        return defaultRule(TriggerPreset::always);
    }
    if (const auto preset = choose(presetChoices(), "--preset", raw.preset)) {
        return defaultRule(*preset);
    }
    if (!raw.executable.empty()) {
        return customRule(TriggerMatchStrategy::executableName, "--executable", raw.executable);
    }
    if (!raw.command.empty()) {
        return customRule(TriggerMatchStrategy::commandLineContains, "--command", raw.command);
    }
    return std::nullopt;
}

TriggerRule presetNamed(const std::string& name) {
    const auto preset = choose(presetChoices(), "preset", name);
    return preset ? defaultRule(*preset) : throw UsageError("preset needs a name");
}

RunOverrides overridesOf(const RawOptions& raw) {
    return {.trigger = triggerOf(raw),
            .powerSourcePolicy = choose(powerChoices, "--power", raw.power),
            .batteryCutoffPercent = chooseCutoff(raw.cutoff),
            .watchMode = choose(lidChoices, "--lid", raw.lid)};
}

std::optional<WorkRequirement> workRequirementOf(const RawOptions& raw) {
    return requirementWith(raw.whileWorking, "--while-working", raw);
}

std::optional<WorkRequirement> cpuRequirementOf(const RawOptions& raw) {
    return requirementWith(raw.cpu, "--cpu", raw);
}

std::optional<std::chrono::seconds> sinceOf(const RawOptions& raw) {
    if (raw.since.empty()) {
        return std::nullopt;
    }
    const auto length = parseDuration(raw.since);
    if (!length || length->count() == 0) {
        throw UsageError(fmt::format("--since takes {}, not \"{}\"", durationForms, raw.since));
    }
    return length;
}

bool loginStateOf(const RawOptions& raw) {
    const auto state = choose(Choices<bool>{{"on", true}, {"off", false}}, "login", raw.state);
    return state ? *state : throw UsageError("login needs to be told on or off");
}

} // namespace tavo
