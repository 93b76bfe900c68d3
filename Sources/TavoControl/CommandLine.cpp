#include "CommandLine.h"

#include "Version.h"
#include "config/TavoValidationError.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cctype>

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
    throw CLI::ValidationError(fmt::format("{} takes one of {}, not \"{}\"", option, fmt::join(names, ", "), given));
}

std::optional<std::optional<std::int64_t>> chooseCutoff(const std::string& given) {
    if (given.empty()) {
        return std::nullopt;
    }
    if (given == "none") {
        return std::optional<std::int64_t>();
    }
    AppConfig config;
    config.batteryCutoffPercent = 0;
    if (!CLI::detail::lexical_cast(given, *config.batteryCutoffPercent)) {
        throw CLI::ValidationError(fmt::format("--cutoff takes a percentage from 1 to 100 or none, not \"{}\"", given));
    }
    try {
        return config.validated().batteryCutoffPercent;
    } catch (const TavoValidationError& error) {
        throw CLI::ValidationError(error.description());
    }
}

std::optional<TriggerRule> chooseTrigger(const RawOptions& raw) {
    const int given = (raw.always ? 1 : 0) + (raw.preset.empty() ? 0 : 1) + (raw.executable.empty() ? 0 : 1) +
                      (raw.command.empty() ? 0 : 1);
    if (given > 1) {
        throw CLI::ValidationError("only one of --always, --preset, --executable and --command can be the trigger");
    }
    if (raw.always) {
        return defaultRule(TriggerPreset::always);
    }
    if (const auto preset = choose(presetChoices(), "--preset", raw.preset)) {
        return defaultRule(*preset);
    }
    const auto rule = [](TriggerMatchStrategy strategy, const std::string& query) {
        try {
            return TriggerRule{.mode = TriggerMode::process, .matchStrategy = strategy, .query = query}.validated();
        } catch (const TavoValidationError& error) {
            throw CLI::ValidationError(error.description());
        }
    };
    if (!raw.executable.empty()) {
        return rule(TriggerMatchStrategy::executableName, raw.executable);
    }
    if (!raw.command.empty()) {
        return rule(TriggerMatchStrategy::commandLineContains, raw.command);
    }
    return std::nullopt;
}

void rejectEmpty(CLI::Option* option) {
    option->check([name = option->get_name()](const std::string& value) {
        return value.empty() ? fmt::format("{} must not be empty", name) : std::string();
    });
}

void addTriggerOptions(CLI::App& command, RawOptions& raw, bool withAlways) {
    constexpr const char* group = "Trigger, at most one of them";
    if (withAlways) {
        command.add_flag("--always", raw.always, "always")->group(group);
    }
    rejectEmpty(
        command.add_option("--preset", raw.preset, "while the preset's program runs: codex, claudeCode, cursor")
            ->type_name("NAME")
            ->group(group));
    rejectEmpty(command.add_option("--executable", raw.executable, "while an executable of this name runs")
                    ->type_name("NAME")
                    ->group(group));
    rejectEmpty(command.add_option("--command", raw.command, "while a process runs whose command line holds this text")
                    ->type_name("TEXT")
                    ->group(group));
}

/// A sentence for the user out of what the parser says: lower case, one line, a full stop.
std::string asSentence(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    // An option's name or an abbreviation at the start stays as it is.
    if (text.size() > 1 && std::isupper(static_cast<unsigned char>(text[1])) == 0) {
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    }
    while (text.ends_with('.') || text.ends_with(' ')) {
        text.pop_back();
    }
    return text + "; tavoctl --help lists what there is.";
}

class Parser {
public:
    Parser() {
        app.set_version_flag("--version", std::string("tavoctl ") + tavoVersion);
        app.add_option("--root", raw.root, "the folder of config.json and state.json, in place of the default one")
            ->type_name("DIR");
        app.require_subcommand(1);
        app.fallthrough();

        addTriggerOptions(*run, raw, true);
        rejectEmpty(run->add_option("--power", raw.power, "the power source to stay awake on: any, ac, battery")
                        ->type_name("SOURCE"));
        rejectEmpty(run->add_option("--cutoff", raw.cutoff, "let go at this battery percentage: 1 to 100, or none")
                        ->type_name("PERCENT"));
        rejectEmpty(
            run->add_option("--lid", raw.lid, "stay awake with the lid open, closed, or both")->type_name("STATE"));
        addTriggerOptions(*processes, raw, false);
        for (auto* command : {run, status, processes, doctor}) {
            command->add_flag("--json", raw.json, "print JSON");
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
        } catch (const CLI::ParseError& error) {
            return UsageReply{.text = asSentence(error.what()), .isError = true};
        }
    }

private:
    Invocation understood() const {
        Invocation invocation;
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
        } else {
            invocation.command = DoctorOptions{.json = raw.json};
        }
        return invocation;
    }

    RawOptions raw;
    CLI::App app{"Keeps this computer awake on your terms.", "tavoctl"};
    CLI::App* run = app.add_subcommand("run", "keep awake, in the foreground, until interrupted");
    CLI::App* status = app.add_subcommand("status", "tell what the running tavo does, and what is really held");
    CLI::App* processes = app.add_subcommand("processes", "list the processes that match now");
    CLI::App* doctor = app.add_subcommand("doctor", "check what tavo needs of this system");
};

} // namespace

std::variant<Invocation, UsageReply> parseCommandLine(int count, const char* const* values) {
    return Parser().parse(count, values);
}

} // namespace tavo
