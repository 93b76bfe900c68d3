#include "app/CommandLineHelp.h"

#include "base/NearestWord.h"
#include "base/WrappedText.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace tavo {

namespace {

constexpr std::size_t labelWidth = 24;
constexpr std::size_t narrowestWidth = 40;

/// The heading of the options that belong to none of the groups; it comes last.
constexpr std::string_view commonGroup = "Options";

std::vector<const CLI::Option*> argumentsOf(const CLI::App& command) {
    return command.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

bool takesSeveralWords(const CLI::Option& argument) {
    return argument.get_items_expected_max() > 1;
}

std::string usageOf(const CLI::Option& argument) {
    const auto name = argument.get_name(true);
    if (takesSeveralWords(argument)) {
        // A command line of its own: the dashes tell its options from ours.
        return "-- " + name + "...";
    }
    // Where there is something to print without it, it may be left out.
    return !argument.get_default_str().empty() ? "[" + name + "]" : name;
}

std::string usageOf(const CLI::App& command) {
    auto path = command.get_name();
    for (const auto* parent = command.get_parent(); parent != nullptr; parent = parent->get_parent()) {
        path = parent->get_name() + " " + path;
    }
    auto usage = "Usage: " + path + " [OPTIONS]";
    for (const auto* argument : argumentsOf(command)) {
        usage += " " + usageOf(*argument);
    }
    return usage + (commandsOf(command).empty() ? "" : " COMMAND");
}

std::string labelOf(const CLI::Option& option) {
    const auto names = fmt::format("{}", fmt::join(namesOf(option), ", "));
    return option.get_type_size() == 0 ? names : names + " " + option.get_type_name();
}

/// A line with its text beside it, or below a label that is too long for its column.
std::string row(const std::string& label, const std::string& text, std::size_t width) {
    const auto lines = wrapped(text, width - labelWidth - 4);
    auto written = fmt::format("  {:<{}}", label, labelWidth);
    bool isBeside = label.size() <= labelWidth;
    for (const auto& line : lines) {
        written += isBeside ? "  " + line : fmt::format("\n{:{}}{}", "", labelWidth + 4, line);
        isBeside = false;
    }
    // Of a label without a text nothing but blanks would follow.
    return written.substr(0, written.find_last_not_of(' ') + 1) + "\n";
}

std::vector<std::string> groupsOf(const std::vector<const CLI::Option*>& options) {
    std::vector<std::string> groups;
    for (const auto* option : options) {
        if (std::find(groups.begin(), groups.end(), option->get_group()) == groups.end()) {
            groups.push_back(option->get_group());
        }
    }
    std::stable_partition(groups.begin(), groups.end(), [](const auto& group) { return group != commonGroup; });
    return groups;
}

std::string withoutDashes(std::string_view option) {
    option = option.substr(0, option.find('='));
    return std::string(option.substr(std::min(option.find_first_not_of('-'), option.size())));
}

} // namespace

std::string helpText(const CLI::App& command, std::size_t width) {
    width = std::max(width, narrowestWidth);
    auto text = fmt::format("{}\n", fmt::join(wrapped(command.get_description(), width), "\n"));
    text += fmt::format("{}\n", fmt::join(wrapped(usageOf(command), width), "\n    "));
    const auto commands = commandsOf(command);
    text += commands.empty() ? "" : "\nCommands:\n";
    for (const auto* each : commands) {
        text += row(each->get_name(), each->get_description(), width);
    }
    const auto arguments = argumentsOf(command);
    text += arguments.empty() ? "" : "\nArguments:\n";
    for (const auto* argument : arguments) {
        text += row(argument->get_name(true) + (takesSeveralWords(*argument) ? "..." : ""), argument->get_description(),
                    width);
    }
    const auto options = optionsOf(command);
    for (const auto& group : groupsOf(options)) {
        text += "\n" + group + ":\n";
        for (const auto* option : options) {
            text += option->get_group() == group ? row(labelOf(*option), option->get_description(), width) : "";
        }
    }
    const auto footer = command.get_footer();
    return footer.empty() ? text : text + "\n" + footer + "\n";
}

const CLI::App& namedCommand(const CLI::App& program) {
    const auto parsed = program.get_subcommands();
    return parsed.empty() ? program : namedCommand(*parsed.front());
}

std::vector<const CLI::App*> commandsOf(const CLI::App& command) {
    return command.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); });
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& command) {
    return command.get_options(
        [](const CLI::Option* option) { return !option->get_positional() && !option->get_group().empty(); });
}

std::vector<std::string> namesOf(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const auto& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const auto& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

std::optional<std::string> nearestOption(const CLI::App& command, std::string_view given) {
    std::vector<std::string> names;
    for (const auto* option : optionsOf(command)) {
        names.insert(names.end(), option->get_lnames().begin(), option->get_lnames().end());
    }
    const auto name = nearestWord(withoutDashes(given), names);
    return name ? std::optional("--" + *name) : std::nullopt;
}

std::optional<std::string> nearestCommand(const CLI::App& command, std::string_view given) {
    std::vector<std::string> names;
    const auto commands = commandsOf(command);
    for (const auto* each : commands) {
        names.push_back(each->get_name());
    }
    if (auto name = nearestWord(given, names)) {
        return name;
    }
    for (const auto* each : commands) {
        if (const auto name = nearestCommand(*each, given)) {
            return each->get_name() + " " + *name;
        }
    }
    return std::nullopt;
}

std::optional<UnplacedArgument> unplacedArgument(const CLI::App& program) {
    const auto& command = namedCommand(program);
    for (const auto* holder = &command; holder != nullptr; holder = holder->get_parent()) {
        if (const auto rest = holder->remaining(); !rest.empty()) {
            return UnplacedArgument{.command = holder, .text = rest.front()};
        }
    }
    return std::nullopt;
}

} // namespace tavo
