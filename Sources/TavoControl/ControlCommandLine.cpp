#include "TavoControl/ControlCommandLine.h"

#include "TavoControl/CommandExamples.h"
#include "TavoControl/CommandOptions.h"
#include "Version.h"
#include "base/NearestWord.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace tavo {

namespace {

constexpr const char* launchAtLoginKey = "launchAtLoginEnabled";

/// Where the "--" stands that ends the options of exec; nothing for other commands, where it has no such meaning.
std::optional<int> endOfExecOptions(int count, const char* const* values) {
    bool isExec = false;
    for (int index = 1; index < count; ++index) {
        const std::string_view value = values[index];
        if (isExec && value == "--") {
            return index;
        }
        if (value == "--root") {
            ++index; // its folder may have any name
        } else if (!isExec && !value.starts_with('-')) {
            if (value != "exec") {
                return std::nullopt;
            }
            isExec = true;
        }
    }
    return std::nullopt;
}

/// A sentence for the user: lower case, one line, and at its end the word that was most likely meant.
std::string asSentence(std::string text, const std::optional<std::string>& nearest) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    // An option's name at the start stays as it is.
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text + (nearest ? didYouMean(nearest) : "; tavoctl --help lists what there is.");
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
        addPolicyOptions(*run, raw);
        addProcessOption(*run, raw);
        addWorkOptions(*run, raw);
        addBoundOptions(*run, raw);
        addPolicyOptions(*exec, raw);
        addBoundOptions(*exec, raw);
        // Only for the help: they are removed before the arguments are parsed.
        exec->add_option("COMMAND", misplacedWords, "after --, the command and its arguments");
        addTriggerOptions(*processes, raw, false);
        processes->add_flag("--cpu", raw.cpu, "measure for 5 seconds which of them work")->disable_flag_override();
        addBusyOption(*processes, raw);
        addMatchOptions(*match, raw, "Trigger, one of them");
        addOption(*history, "--since", raw.since, "how far back, as in 90m or 48h; 24h by default", "DURATION");
        // Missing ones are reported later, in better words than the parser's.
        preset->add_option("NAME", raw.name, "always, codex, claudeCode or cursor");
        set->add_option("KEY", raw.key, "a key that get lists");
        set->add_option("VALUE", raw.value, "as get prints it");
        get->add_option("KEY", raw.key, "all of them by default")->default_str("all");
        login->add_option("STATE", raw.state, "on or off");
        addWorkOptions(*login, raw);
        helper->require_subcommand(1);
        for (auto* command : {run, status, processes, history, explain, watch, doctor, get, helperStatus}) {
            command->add_flag("--json", raw.json, "print JSON")->disable_flag_override();
        }
        for (auto* command : {run,         exec,   status,  processes,    history,       explain,
                              watch,       doctor, helper,  helperStatus, helperInstall, helperUninstall,
                              helperReset, enable, disable, toggle,       preset,        match,
                              set,         get,    login}) {
            command->set_help_flag("-h,--help", "print this help");
        }
        for (auto* command : {&app,        run,    exec,    status,       processes,     history,
                              explain,     watch,  doctor,  helperStatus, helperInstall, helperUninstall,
                              helperReset, enable, disable, toggle,       preset,        match,
                              set,         get,    login}) {
            rootOptions.push_back(addOption(*command, "--root", raw.root,
                                            "the folder of config.json and state.json, instead of the default one",
                                            "DIR"));
        }
        addExamples(app);
    }

    std::variant<Invocation, UsageReply> parse(int count, const char* const* values, std::size_t width) {
        if (const auto end = endOfExecOptions(count, values)) {
            words.assign(values + *end + 1, values + count);
            count = *end;
        }
        try {
            app.parse(count, values);
            return understood();
        } catch (const CLI::CallForVersion& request) {
            return UsageReply{.text = std::string(request.what()) + "\n"};
        } catch (const CLI::CallForHelp&) {
            return UsageReply{.text = helpText(namedCommand(app), width)};
        } catch (const CLI::RequiredError&) {
            return missingCommand();
        } catch (const CLI::ExtrasError& error) {
            return refusal(error.what(), nearestOption());
        } catch (const CLI::ArgumentMismatch& error) {
            return refusal(explained(error));
        } catch (const CLI::ParseError& error) {
            return refusal(error.what());
        } catch (const UsageError& error) {
            return refusal(error.what(), error.nearest);
        }
    }

    const CLI::App& definition() const { return app; }

private:
    UsageReply missingCommand() const {
        const auto given = unplacedArgument(app);
        if (given && !given->text.starts_with('-')) {
            return refusal(fmt::format("there is no command \"{}\"", given->text),
                           nearestCommand(*given->command, given->text));
        }
        if (const auto option = nearestOption()) {
            return refusal(fmt::format("the following argument was not expected: {}", given->text), option);
        }
        return refusal(helper->parsed() ? "name a command of helper: status, install, uninstall or reset"
                                        : "name a command, as in tavoctl status");
    }

    /// To the first argument that was not expected.
    std::optional<std::string> nearestOption() const {
        const auto given = unplacedArgument(app);
        return given ? tavo::nearestOption(*given->command, given->text) : std::nullopt;
    }

    static UsageReply refusal(const std::string& text, const std::optional<std::string>& nearest = {}) {
        return {.text = asSentence(text, nearest), .isError = true};
    }

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
            invocation.command = runOptions();
        } else if (exec->parsed()) {
            invocation.command = execOptions();
        } else if (status->parsed()) {
            invocation.command = StatusOptions{.json = raw.json};
        } else if (processes->parsed()) {
            invocation.command =
                ProcessesOptions{.rule = triggerOf(raw), .cpu = cpuRequirementOf(raw), .json = raw.json};
        } else if (history->parsed()) {
            invocation.command =
                HistoryOptions{.since = sinceOf(raw).value_or(HistoryOptions().since), .json = raw.json};
        } else if (explain->parsed()) {
            invocation.command = ExplainOptions{.json = raw.json};
        } else if (watch->parsed()) {
            invocation.command = WatchOptions{.json = raw.json};
        } else if (doctor->parsed()) {
            invocation.command = DoctorOptions{.json = raw.json};
        } else if (helper->parsed()) {
            invocation.command = HelperCommandOptions{.action = helperAction(), .json = raw.json};
        } else if (get->parsed()) {
            invocation.command =
                GetOptions{.key = get->count("KEY") > 0 ? std::optional(raw.key) : std::nullopt, .json = raw.json};
        } else {
            invocation.command = change();
        }
        return invocation;
    }

    RunOptions runOptions() const {
        RunOptions options{.overrides = overridesOf(raw),
                           .whileWorking = workRequirementOf(raw),
                           .bound = boundOf(raw),
                           .json = raw.json};
        if (!options.bound.processes.empty()) {
            if (options.overrides.trigger) {
                throw UsageError("--pid is a trigger of its own: it cannot be combined with --always, --preset, "
                                 "--executable or --command");
            }
            // While they run there is nothing else to wait for.
            options.overrides.trigger = defaultRule(TriggerPreset::always);
        }
        if (options.whileWorking && options.overrides.trigger &&
            options.overrides.trigger->mode == TriggerMode::always) {
            throw UsageError(
                "--while-working needs a process to watch, so it cannot be combined with a trigger that is always on");
        }
        return options;
    }

    ExecOptions execOptions() const {
        if (words.empty() || words.front().empty()) {
            throw UsageError("exec needs a command after --, as in tavoctl exec -- make");
        }
        auto overrides = overridesOf(raw);
        overrides.trigger = defaultRule(TriggerPreset::always);
        return {.overrides = std::move(overrides), .bound = boundOf(raw), .words = words};
    }

    ChangeOptions change() const {
        using Kind = ChangeOptions::Kind;
        if (enable->parsed() || disable->parsed()) {
            return {.kind = enable->parsed() ? Kind::enable : Kind::disable};
        }
        if (toggle->parsed()) {
            return {.kind = Kind::toggle};
        }
        if (set->parsed()) {
            if (set->count("KEY") == 0 || set->count("VALUE") == 0) {
                throw UsageError("set needs a key and a value");
            }
            return {.kind = Kind::set, .key = raw.key, .value = raw.value, .login = raw.key == launchAtLoginKey};
        }
        if (login->parsed()) {
            return loginChange();
        }
        return {.kind = Kind::trigger, .trigger = namedTrigger()};
    }

    ChangeOptions loginChange() const {
        const bool isOn = loginStateOf(raw);
        const auto requirement = workRequirementOf(raw);
        if (requirement && !isOn) {
            throw UsageError("--while-working goes with login on");
        }
        return {.kind = ChangeOptions::Kind::set,
                .key = launchAtLoginKey,
                .value = isOn ? "true" : "false",
                .login = true,
                .loginOptions = std::optional(requirement)};
    }

    TriggerRule namedTrigger() const {
        if (match->parsed()) {
            const auto rule = triggerOf(raw);
            return rule ? *rule : throw UsageError("match needs --executable or --command");
        }
        return presetNamed(raw.name);
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

    /// The command of exec, which is not parsed.
    std::vector<std::string> words;
    std::vector<std::string> misplacedWords;
    std::vector<CLI::Option*> rootOptions;
    CLI::App app{"keeps this computer awake on your terms", "tavoctl"};
    CLI::App* run = app.add_subcommand("run", "keep awake in the foreground until interrupted");
    CLI::App* exec = app.add_subcommand("exec", "keep awake while a command runs");
    CLI::App* status = app.add_subcommand("status", "show what the running tavo does and what is really held");
    CLI::App* processes = app.add_subcommand("processes", "list the processes that match now");
    CLI::App* history = app.add_subcommand("history", "show when this computer was kept awake, and for what");
    CLI::App* explain = app.add_subcommand("explain", "explain step by step why it is kept awake or not");
    CLI::App* watch = app.add_subcommand("watch", "show the explanation live until interrupted");
    CLI::App* doctor = app.add_subcommand("doctor", "check whether this system has what tavo needs");
    CLI::App* enable = app.add_subcommand("enable", "switch keeping awake on");
    CLI::App* disable = app.add_subcommand("disable", "switch keeping awake off");
    CLI::App* toggle = app.add_subcommand("toggle", "switch off, or on without a trigger, as the app's button does");
    CLI::App* preset = app.add_subcommand("preset", "keep awake while the preset's program runs, or always");
    CLI::App* match = app.add_subcommand("match", "keep awake while a process of your choice runs");
    CLI::App* set = app.add_subcommand("set", "change one setting");
    CLI::App* get = app.add_subcommand("get", "print the settings, or one of them");
    CLI::App* login = app.add_subcommand("login", "start the desktop app at login, or stop doing so");
    CLI::App* helper = app.add_subcommand("helper", "manage the helper that keeps awake with the lid closed");
    CLI::App* helperStatus = helper->add_subcommand("status", "show its state and the overrides in effect");
    CLI::App* helperInstall = helper->add_subcommand("install", "install it, with an administrator's approval");
    CLI::App* helperUninstall = helper->add_subcommand("uninstall", "remove it, with an administrator's approval");
    CLI::App* helperReset = helper->add_subcommand("reset", "tell it to remove itself");
};

} // namespace

std::variant<Invocation, UsageReply> parseCommandLine(int count, const char* const* values, std::size_t width) {
    return Parser().parse(count, values, width);
}

void inspectCommandLine(const std::function<void(const CLI::App&)>& visit) {
    visit(Parser().definition());
}

} // namespace tavo
