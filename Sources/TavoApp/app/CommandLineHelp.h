#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace tavo {

/// How wide a help is where no terminal says otherwise.
constexpr std::size_t helpWidth = 80;

/// The help of a command: its description, its usage, its arguments and options with theirs, and its footer, which is
/// kept as it is. No line is longer than the width, unless a single word is.
/// @param width  in characters; a very narrow one is taken for the narrowest that a table fits.
std::string helpText(const CLI::App& command, std::size_t width = helpWidth);

/// The innermost command that the arguments named.
const CLI::App& namedCommand(const CLI::App& program);

/// The commands of a command.
std::vector<const CLI::App*> commandsOf(const CLI::App& command);

/// The options of a command that its help shows, without its arguments.
std::vector<const CLI::Option*> optionsOf(const CLI::App& command);

/// The names under which an option can be given: "-h", "--help".
std::vector<std::string> namesOf(const CLI::Option& option);

/// The option of the command that was most likely meant, as in "--power" for "--pwoer=ac" or "power".
std::optional<std::string> nearestOption(const CLI::App& command, std::string_view given);

/// The command of a command that was most likely meant; of those within another one with its name, "helper install".
std::optional<std::string> nearestCommand(const CLI::App& command, std::string_view given);

/// The first argument that the parser could not place, and the innermost command that it was given to.
struct UnplacedArgument {
    const CLI::App* command = nullptr;
    std::string text;
};
std::optional<UnplacedArgument> unplacedArgument(const CLI::App& program);

} // namespace tavo
