#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace tavo {

/// A command line to learn from.
struct CommandExample {
    /// The command's words, "helper status"; empty for the program itself.
    std::string_view command;
    std::string_view line;
};

const std::vector<CommandExample>& commandExamples();

/// Ends the help of the program and of each command with its examples, and that of the program with the exit statuses
/// before them.
void addExamples(CLI::App& program);

} // namespace tavo
