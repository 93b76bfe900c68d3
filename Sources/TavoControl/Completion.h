#pragma once

#include "system/ProcessSnapshot.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace tavo {

/// The shells that can be served. Each has a script that asks "tavoctl --complete" and knows nothing itself.
enum class CompletingShell { bash, zsh, fish };

/// The words of a command line up to the cursor.
struct CompletionRequest {
    CompletingShell shell = CompletingShell::bash;

    /// After the program's name. The last is the one to complete, and may be empty. bash passes them as they were
    /// typed, with their quotes and parted at "=", the others as the program would get them.
    std::vector<std::string> words;
};

struct CompletionCandidate {
    std::string word;
    std::string description = {};

    bool operator==(const CompletionCandidate&) const = default;
};

/// The words that may be meant by the last one.
struct CompletionAnswer {
    enum class Kind {
        words,   ///< the candidates, which may be none
        folders, ///< any folder
        command, ///< another command line begins
    };

    Kind kind = Kind::words;
    std::vector<CompletionCandidate> candidates = {};

    /// Of a command: the index of its first word, counted from the program's name as the shell counts.
    std::size_t commandStart = 0;

    bool operator==(const CompletionAnswer&) const = default;
};

/// Where the values of an option or of an argument come from.
enum class ValueSource {
    none,
    presets,
    powerSources,
    lidStates,
    cutoffs,
    loginStates,
    keys,
    settableKeys,
    values,
    executables,
    processIDs,
    folders
};

/// That of the option "--power" or the argument "KEY" of a command; nothing for one that is not known here.
std::optional<ValueSource> valueSourceOf(const CLI::App& command, const CLI::Option& option);

/// Gives the processes of this moment, where they are needed.
using ProcessListing = std::function<std::vector<ProcessSample>()>;

/// Completes a command line of the program.
CompletionAnswer completionOf(const CLI::App& program, const CompletionRequest& request,
                              const ProcessListing& processes);

/// The answer in the form that the shell's script reads: a line that says of which kind it is ("words", "folders" or
/// "command 3"), then a candidate a line, with its description after a tab (not for bash, whose candidates have their
/// blanks quoted).
std::string completionText(const CompletionAnswer& answer, const CompletionRequest& request);

/// Carries out "tavoctl --complete SHELL PROGRAM WORD...", for tavoctl and for tavo.
/// @param arguments  those after --complete. @return nothing when they make no sense.
std::optional<std::string> completeCommandLine(const std::vector<std::string>& arguments,
                                               const ProcessListing& processes);

} // namespace tavo
