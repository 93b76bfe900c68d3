#include "TavoControl/Completion.h"

#include "TavoControl/CommandLineWords.h"
#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/OptionValues.h"
#include "TavoControl/Settings.h"
#include "app/CommandLineHelp.h"
#include "app/LaunchCommandLine.h"
#include "base/Text.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>

namespace tavo {

namespace {

struct NamedSource {
    /// Empty for every command.
    std::string_view command;
    std::string_view name;
    ValueSource source;
};

constexpr std::array namedSources{
    NamedSource{"", "--preset", ValueSource::presets}, NamedSource{"preset", "NAME", ValueSource::presets},
    NamedSource{"", "--power", ValueSource::powerSources}, NamedSource{"", "--lid", ValueSource::lidStates},
    NamedSource{"", "--cutoff", ValueSource::cutoffs}, NamedSource{"", "--executable", ValueSource::executables},
    NamedSource{"", "--pid", ValueSource::processIDs}, NamedSource{"", "--root", ValueSource::folders},
    NamedSource{"login", "STATE", ValueSource::loginStates}, NamedSource{"get", "KEY", ValueSource::keys},
    NamedSource{"set", "KEY", ValueSource::settableKeys}, NamedSource{"set", "VALUE", ValueSource::values},
    // Free text, a number or a length of time: there is nothing to choose from.
    NamedSource{"", "--command", ValueSource::none}, NamedSource{"", "--busy", ValueSource::none},
    NamedSource{"", "--grace", ValueSource::none}, NamedSource{"", "--for", ValueSource::none},
    NamedSource{"", "--until", ValueSource::none}, NamedSource{"", "--since", ValueSource::none},
    NamedSource{"exec", "COMMAND", ValueSource::none}};

std::vector<CompletionCandidate> plain(const std::vector<std::string>& words) {
    std::vector<CompletionCandidate> candidates;
    for (const auto& word : words) {
        candidates.push_back({word});
    }
    return candidates;
}

/// Linux shows the kernel's threads as children of one process, which nobody waits for.
bool isOfKernel(const ProcessSample& process) {
    constexpr std::int32_t threadDaemon = 2;
    return process.pid == threadDaemon || process.parentPID == threadDaemon;
}

/// Whether a shell takes the name for one word once its blanks are quoted, whatever surrounds it, and the program for a
/// value. Any process may give itself any name, so everything that is not known to be harmless is left out.
bool isHarmless(std::string_view name) {
    const auto isAlphanumeric = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    };
    return !name.empty() && isAlphanumeric(name.front()) && name.back() != ' ' &&
           std::all_of(name.begin(), name.end(), [&](char c) {
               return isAlphanumeric(c) || std::string_view(" ._+-").find(c) != std::string_view::npos;
           });
}

std::vector<CompletionCandidate> executables(const ProcessListing& processes) {
    std::set<std::string> names;
    for (const auto& process : processes()) {
        if (!isOfKernel(process) && isHarmless(process.executableName)) {
            names.emplace(process.executableName);
        }
    }
    return plain({names.begin(), names.end()});
}

std::vector<CompletionCandidate> processIDs(const ProcessListing& processes) {
    std::vector<CompletionCandidate> candidates;
    for (const auto& process : processes()) {
        if (!isOfKernel(process) && !process.executableName.empty()) {
            candidates.push_back({std::to_string(process.pid), visibleControls(process.executableName)});
        }
    }
    return candidates;
}

/// Follows the words before the last one.
class Cursor {
public:
    Cursor(const CLI::App& program, const ProcessListing& processes) : command(&program), processes(processes) {}

    /// @return the answer, if the word settles it.
    std::optional<CompletionAnswer> pass(const CommandLineWord& word, const CommandLineWord& next) {
        if (awaited != nullptr) {
            awaited = nullptr;
        } else if (word.text == "--" && command->get_name() == "exec") {
            return CompletionAnswer{.kind = CompletionAnswer::Kind::command, .commandStart = next.index};
        } else if (word.text.starts_with('-')) {
            const auto* option = optionNamed(word.text.substr(0, word.text.find('=')));
            given.insert(option);
            awaited =
                option != nullptr && option->get_items_expected_max() > 0 && word.text.find('=') == std::string::npos
                    ? option
                    : nullptr;
        } else if (!commandsOf(*command).empty()) {
            const auto commands = commandsOf(*command);
            const auto found = std::find_if(commands.begin(), commands.end(),
                                            [&](const auto* each) { return each->get_name() == word.text; });
            if (found == commands.end()) {
                return CompletionAnswer();
            }
            command = *found;
        } else {
            arguments.push_back(word.text);
        }
        return std::nullopt;
    }

    CompletionAnswer complete(const std::string& last) const {
        if (awaited != nullptr) {
            return valuesOf(*awaited, "");
        }
        if (const auto equals = last.find('='); last.starts_with("--") && equals != std::string::npos) {
            const auto* option = optionNamed(last.substr(0, equals));
            return option != nullptr ? valuesOf(*option, last.substr(0, equals + 1)) : CompletionAnswer();
        }
        if (last.starts_with('-')) {
            return {.candidates = options()};
        }
        std::vector<CompletionCandidate> candidates;
        for (const auto* each : commandsOf(*command)) {
            candidates.push_back({each->get_name(), each->get_description()});
        }
        if (command->get_name() == "exec") {
            candidates.push_back({"--", "the command and its arguments follow"});
        }
        if (const auto* argument = nextArgument()) {
            const auto answer = valuesOf(*argument, "");
            candidates.insert(candidates.end(), answer.candidates.begin(), answer.candidates.end());
        }
        return {.candidates = candidates.empty() && last.empty() ? options() : candidates};
    }

private:
    const CLI::Option* optionNamed(const std::string& name) const {
        for (const auto* option : optionsOf(*command)) {
            const auto names = namesOf(*option);
            if (std::find(names.begin(), names.end(), name) != names.end()) {
                return option;
            }
        }
        return nullptr;
    }

    const CLI::Option* nextArgument() const {
        const auto all = command->get_options([](const CLI::Option* option) { return option->get_positional(); });
        return arguments.size() < all.size() ? all[arguments.size()] : nullptr;
    }

    /// Without those that have been given, unless they may be given again.
    std::vector<CompletionCandidate> options() const {
        std::vector<CompletionCandidate> candidates;
        for (const auto* option : optionsOf(*command)) {
            if (given.count(option) == 0 || option->get_items_expected_max() > 1) {
                candidates.push_back({namesOf(*option).back(), option->get_description()});
            }
        }
        return candidates;
    }

    /// @param prefix  stands before each.
    CompletionAnswer valuesOf(const CLI::Option& option, const std::string& prefix) const {
        const auto source = valueSourceOf(*command, option).value_or(ValueSource::none);
        if (source == ValueSource::folders) {
            return {.kind = CompletionAnswer::Kind::folders};
        }
        auto candidates = candidatesFrom(source);
        for (auto& candidate : candidates) {
            candidate.word.insert(0, prefix);
        }
        return {.candidates = std::move(candidates)};
    }

    std::vector<CompletionCandidate> candidatesFrom(ValueSource source) const {
        switch (source) {
        case ValueSource::presets:
            return plain(namesOf(presetChoices()));
        case ValueSource::powerSources:
            return plain(namesOf(powerChoices()));
        case ValueSource::lidStates:
            return plain(namesOf(lidChoices()));
        case ValueSource::cutoffs:
            return plain({"none"});
        case ValueSource::loginStates:
            return plain(namesOf(loginChoices()));
        case ValueSource::keys:
            return plain(settingKeys());
        case ValueSource::settableKeys:
            return plain(settableKeys());
        case ValueSource::values:
            return plain(namedValuesOf(arguments.front()));
        case ValueSource::executables:
            return executables(processes);
        case ValueSource::processIDs:
            return processIDs(processes);
        case ValueSource::folders:
        case ValueSource::none:
            return {};
        }
        return {};
    }

    const CLI::App* command;
    const ProcessListing& processes;
    const CLI::Option* awaited = nullptr; ///< whose value comes next
    std::set<const CLI::Option*> given;
    std::vector<std::string> arguments;
};

} // namespace

std::optional<ValueSource> valueSourceOf(const CLI::App& command, const CLI::Option& option) {
    const auto name = option.get_positional() ? option.get_name(true) : namesOf(option).back();
    for (const auto& named : namedSources) {
        if (named.name == name && (named.command.empty() || named.command == command.get_name())) {
            return named.source;
        }
    }
    return std::nullopt;
}

CompletionAnswer completionOf(const CLI::App& program, const CompletionRequest& request,
                              const ProcessListing& processes) {
    const auto words =
        request.shell == CompletingShell::bash ? wordsOfBash(request.words) : wordsAsGiven(request.words);
    Cursor cursor(program, processes);
    for (std::size_t index = 0; index + 1 < words.size(); ++index) {
        if (auto answer = cursor.pass(words[index], words[index + 1])) {
            return *answer;
        }
    }
    return words.empty() ? CompletionAnswer() : cursor.complete(words.back().text);
}

std::string completionText(const CompletionAnswer& answer, const CompletionRequest& request) {
    if (answer.kind == CompletionAnswer::Kind::folders) {
        return "folders\n";
    }
    if (answer.kind == CompletionAnswer::Kind::command) {
        return fmt::format("command {}\n", answer.commandStart);
    }
    std::string text = "words\n";
    const bool isForBash = request.shell == CompletingShell::bash;
    const auto typed = isForBash && !request.words.empty() ? wordsOfBash(request.words).back().text : "";
    for (const auto& [word, description] : answer.candidates) {
        if (!isForBash) {
            text += description.empty() ? word + "\n" : fmt::format("{}\t{}\n", word, description);
        } else if (word.starts_with(typed)) {
            text += quotedForBash(word) + "\n";
        }
    }
    return text;
}

std::optional<std::string> completeCommandLine(const std::vector<std::string>& arguments,
                                               const ProcessListing& processes) {
    constexpr std::array<std::pair<std::string_view, CompletingShell>, 3> shells{
        {{"bash", CompletingShell::bash}, {"zsh", CompletingShell::zsh}, {"fish", CompletingShell::fish}}};
    if (arguments.size() < 2) {
        return std::nullopt;
    }
    const auto* const shell =
        std::find_if(shells.begin(), shells.end(), [&](const auto& each) { return each.first == arguments[0]; });
    if (shell == shells.end() || (arguments[1] != "tavoctl" && arguments[1] != "tavo")) {
        return std::nullopt;
    }
    const CompletionRequest request{.shell = shell->second, .words = {arguments.begin() + 2, arguments.end()}};
    std::string text;
    const auto answer = [&](const CLI::App& program) {
        text = completionText(completionOf(program, request, processes), request);
    };
    arguments[1] == "tavo" ? inspectLaunchCommandLine(answer) : inspectCommandLine(answer);
    return text;
}

} // namespace tavo
