#pragma once

#include "system/ShellCommand.h"

#include <string>
#include <string_view>

namespace tavo {

/// The text as one word of the shell's, whatever it holds: wrapped in single quotes, each single quote in it written as
/// '\'' (POSIX.1-2017, Shell Command Language, 2.2.2).
std::string shellQuoted(std::string_view text);

/// A command as one line for the shell: the program's path and the arguments, each quoted, joined by single spaces.
std::string shellLine(const ShellCommand& command);

} // namespace tavo
