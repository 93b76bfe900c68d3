#include "TavoControl/CommandOptions.h"

#include <CLI/CLI.hpp>

namespace tavo {

CLI::Option* addOption(CLI::App& command, const std::string& name, std::string& value, const std::string& description,
                       const std::string& valueName) {
    auto* option = command.add_option(name, value, description)->type_name(valueName);
    option->each([name](const std::string& given) {
        if (given.empty()) {
            // An unset variable of a script: the default would not be what was meant.
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

} // namespace tavo
