#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// A program that a test started: its standard input is a pipe that the test holds, its outputs are collected.
///
/// Nothing is left behind: what still runs when this is destroyed is killed, and waited for.
class SpawnedProgram {
public:
    enum class Input { pipe, nullDevice, closed };

    struct Options {
        std::vector<std::string> arguments;
        /// The whole environment, as "NAME=value".
        std::vector<std::string> environment;
        Input input = Input::pipe;
        /// Makes the standard output as small as the system allows, so that one unread line fills it.
        bool smallOutput = false;
        /// Has a test that runs as root start the program as "nobody": a bus turns users away whom it does not know.
        bool asOrdinaryUser = false;
    };

    /// @param program absolute path, or a name looked up in PATH. @throws std::system_error
    SpawnedProgram(const std::string& program, const Options& options);
    ~SpawnedProgram();
    SpawnedProgram(const SpawnedProgram&) = delete;
    SpawnedProgram& operator=(const SpawnedProgram&) = delete;

    pid_t pid() const { return child; }

    void writeInput(const std::string& text) const;
    void closeInput() { closeDescriptor(input); }
    void closeOutput() { closeDescriptor(output); }

    /// Sends a signal, if the program was not waited for yet.
    void signal(int number) const;

    /// The output so far; reads without waiting.
    const std::string& outputSoFar();
    const std::string& errorsSoFar();
    /// The complete lines of the output so far.
    std::vector<std::string> lines();

    /// The status for exit(), or 128 and the signal's number; nothing while the program runs.
    std::optional<int> exitStatus();

private:
    static void closeDescriptor(int& descriptor);
    static void drain(int descriptor, std::string& into);

    pid_t child = -1;
    int input = -1;
    int output = -1;
    int errors = -1;
    std::string collectedOutput;
    std::string collectedErrors;
    std::optional<int> status;
};

} // namespace tavo
