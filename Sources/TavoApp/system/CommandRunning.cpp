#include "system/CommandRunning.h"

namespace tavo {

std::string shellQuoted(std::string_view text) {
    std::string quoted = "'";
    for (const char character : text) {
        if (character == '\'') {
            quoted += R"('\'')";
        } else {
            quoted += character;
        }
    }
    return quoted + "'";
}

std::string shellLine(const ShellCommand& command) {
    auto line = shellQuoted(command.executableURL.string());
    for (const auto& argument : command.arguments) {
        line += " " + shellQuoted(argument);
    }
    return line;
}

} // namespace tavo
