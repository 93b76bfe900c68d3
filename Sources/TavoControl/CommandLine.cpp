#include "CommandLine.h"

#include "Version.h"
#include "config/TavoValidationError.h"
#include "system/DecimalText.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace tavo {

namespace {

/// What the options of the command line are read into before they are understood.
struct RawOptions {
    std::string root;
    bool always = false;
    std::string preset;
    std::string executable;
    std::string command;
    std::string power;
    std::string cutoff;
    std::string lid;
    bool json = false;
};

/// What is wrong with the arguments, as the start of a sentence.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

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
    throw UsageError(fmt::format("{} takes one of {}, not \"{}\"", option, fmt::join(names, ", "), given));
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
    throw UsageError(fmt::format("--cutoff takes a percentage from 1 to 100 or none, not \"{}\"", given));
}

std::optional<TriggerRule> chooseTrigger(const RawOptions& raw) {
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
    const auto rule = [](TriggerMatchStrategy strategy, const std::string& option, const std::string& query) {
        try {
            return TriggerRule{.mode = TriggerMode::process, .matchStrategy = strategy, .query = query}.validated();
        } catch (const TavoValidationError&) {
            throw UsageError(option + " needs more than white space");
        }
    };
    if (!raw.executable.empty()) {
        return rule(TriggerMatchStrategy::executableName, "--executable", raw.executable);
    }
    if (!raw.command.empty()) {
        return rule(TriggerMatchStrategy::commandLineContains, "--command", raw.command);
    }
    return std::nullopt;
}

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

void addTriggerOptions(CLI::App& command, RawOptions& raw, bool withAlways) {
    const std::string group = "Trigger, at most one of them";
    if (withAlways) {
        command.add_flag("--always", raw.always, "always")->disable_flag_override()->group(group);
    }
    const std::string presets = withAlways ? "codex, claudeCode, cursor, or always" : "codex, claudeCode, cursor";
    addOption(command, "--preset", raw.preset, "while the preset's program runs: " + presets, "NAME")->group(group);
    addOption(command, "--executable", raw.executable, "while an executable of this name runs", "NAME")->group(group);
    addOption(command, "--command", raw.command, "while a process runs whose command line holds this text", "TEXT")
        ->group(group);
}

/// A sentence for the user: lower case, one line, a full stop.
std::string asSentence(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    // An option's name at the start stays as it is.
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text + "; tavoctl --help lists what there is.";
}

/// The parser counts the values of an option and says so in its own terms.
std::string explained(const CLI::ArgumentMismatch& error) {
    const std::string text = error.what();
    const auto name = text.substr(0, text.find_first_of(": "));
    if (text.ends_with(" missing")) {
        return name + " needs a value";
    }
    // Of a flag the name comes without its hyphens.
    return name.starts_with("--") ? name + " may be given only once" : "--" + name + " takes no value";
}

class Parser {
public:
    Parser() {
        app.set_help_flag("-h,--help", "print this help");
        app.set_version_flag("--version", std::string("tavoctl ") + tavoVersion, "print the version");
        app.require_subcommand(1);

        addTriggerOptions(*run, raw, true);
        addOption(*run, "--power", raw.power, "the power source to stay awake on: any, ac, battery", "SOURCE");
        addOption(*run, "--cutoff", raw.cutoff, "let go at this battery percentage: 1 to 100, or none", "PERCENT");
        addOption(*run, "--lid", raw.lid, "stay awake with the lid open, closed, or both", "STATE");
        addTriggerOptions(*processes, raw, false);
        helper->require_subcommand(1);
        for (auto* command : {run, status, processes, doctor, helperStatus}) {
            command->add_flag("--json", raw.json, "print JSON")->disable_flag_override();
        }
        for (auto* command :
             {run, status, processes, doctor, helper, helperStatus, helperInstall, helperUninstall, helperReset}) {
            command->set_help_flag("-h,--help", "print this help");
        }
        for (auto* command :
             {&app, run, status, processes, doctor, helperStatus, helperInstall, helperUninstall, helperReset}) {
            rootOptions.push_back(addOption(*command, "--root", raw.root,
                                            "the folder of config.json and state.json, in place of the default one",
                                            "DIR"));
        }
    }

    std::variant<Invocation, UsageReply> parse(int count, const char* const* values) {
        try {
            app.parse(count, values);
            return understood();
        } catch (const CLI::CallForVersion& request) {
            return UsageReply{.text = std::string(request.what()) + "\n"};
        } catch (const CLI::CallForHelp&) {
            return UsageReply{.text = app.help()};
        } catch (const CLI::RequiredError&) {
            const auto rest = app.remaining(true);
            return refusal(rest.empty() || rest.front().starts_with('-')
                               ? missingCommand()
                               : fmt::format("there is no command \"{}\"", rest.front()));
        } catch (const CLI::ArgumentMismatch& error) {
            return refusal(explained(error));
        } catch (const CLI::ParseError& error) {
            return refusal(error.what());
        } catch (const UsageError& error) {
            return refusal(error.what());
        }
    }

private:
    std::string missingCommand() const {
        return helper->parsed() ? "name a command of helper: status, install, uninstall or reset"
                                : "name a command: run, status, processes, doctor or helper";
    }

    static UsageReply refusal(const std::string& text) { return {.text = asSentence(text), .isError = true}; }

    Invocation understood() const {
        Invocation invocation;
        if (std::count_if(rootOptions.begin(), rootOptions.end(), [](auto* option) { return option->count() > 0; }) >
            1) {
            throw UsageError("--root may be given only once");
        }
        if (!raw.root.empty()) {
            invocation.root = std::filesystem::absolute(raw.root);
        }
        if (run->parsed()) {
            invocation.command =
                RunOptions{.overrides = {.trigger = chooseTrigger(raw),
                                         .powerSourcePolicy = choose(powerChoices, "--power", raw.power),
                                         .batteryCutoffPercent = chooseCutoff(raw.cutoff),
                                         .watchMode = choose(lidChoices, "--lid", raw.lid)},
                           .json = raw.json};
        } else if (status->parsed()) {
            invocation.command = StatusOptions{.json = raw.json};
        } else if (processes->parsed()) {
            invocation.command = ProcessesOptions{.rule = chooseTrigger(raw), .json = raw.json};
        } else if (doctor->parsed()) {
            invocation.command = DoctorOptions{.json = raw.json};
        } else {
            invocation.command = HelperCommandOptions{.action = helperAction(), .json = raw.json};
        }
        return invocation;
    }

    HelperCommandOptions::Action helperAction() const {
        using Action = HelperCommandOptions::Action;
        if (helperInstall->parsed()) {
            return Action::install;
        }
        if (helperUninstall->parsed()) {
            return Action::uninstall;
        }
        return helperReset->parsed() ? Action::reset : Action::status;
    }

    RawOptions raw;
    std::vector<CLI::Option*> rootOptions;
    CLI::App app{"keeps this computer awake on your terms", "tavoctl"};
    CLI::App* run = app.add_subcommand("run", "keep awake, in the foreground, until interrupted");
    CLI::App* status = app.add_subcommand("status", "tell what the running tavo does, and what is really held");
    CLI::App* processes = app.add_subcommand("processes", "list the processes that match now");
    CLI::App* doctor = app.add_subcommand("doctor", "check what tavo needs of this system");
    CLI::App* helper = app.add_subcommand("helper", "what lets tavo keep awake with the lid closed");
    CLI::App* helperStatus = helper->add_subcommand("status", "tell what there is of it, and for whom it works");
    CLI::App* helperInstall = helper->add_subcommand("install", "install it, with an administrator's approval");
    CLI::App* helperUninstall = helper->add_subcommand("uninstall", "remove it, with an administrator's approval");
    CLI::App* helperReset = helper->add_subcommand("reset", "have it remove itself");
};

} // namespace

std::variant<Invocation, UsageReply> parseCommandLine(int count, const char* const* values) {
    return Parser().parse(count, values);
}

} // namespace tavo
