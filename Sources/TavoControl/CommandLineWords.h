#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// A word of a command line that is being typed.
struct CommandLineWord {
    /// As the program would get it.
    std::string text;

    /// Where the shell has it, its program being 0.
    std::size_t index = 0;

    bool operator==(const CommandLineWord&) const = default;
};

/// Words that a shell has parsed already. @param words  after the program.
std::vector<CommandLineWord> wordsAsGiven(const std::vector<std::string>& words);

/// Words as bash has them while a line is edited: as they were typed, with their quotes, and from version 4 on with a
/// "=" as a word of its own. Nothing in them is expanded or run; a word that would be stays as it is.
std::vector<CommandLineWord> wordsOfBash(const std::vector<std::string>& words);

/// A candidate as bash inserts it: with its blanks quoted, and without the "--option=" before a value, since bash
/// replaces only what follows the last "=".
std::string quotedForBash(std::string_view word);

} // namespace tavo
