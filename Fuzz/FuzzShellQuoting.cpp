#include "Pieces.h"
#include "PrintingShell.h"
#include "Require.h"
#include "Support/ScriptedCommandRunner.h"
#include "TavoControl/CommandLineWords.h"
#include "helper/macos/AdministratorCommandRunner.h"
#include "system/CommandRunning.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {
namespace {

/// Reads one of AppleScript's string literals off the front: a backslash stands before itself and before quotes.
std::string takeAppleScriptText(std::string_view& script) {
    require(script.starts_with('"'), "a literal begins with quotes");
    std::string text;
    for (std::size_t index = 1; index < script.size(); ++index) {
        if (script[index] == '"') {
            script.remove_prefix(index + 1);
            return text;
        }
        index += script[index] == '\\' ? 1U : 0U;
        require(index < script.size(), "a backslash has a character behind it");
        text += script[index];
    }
    require(false, "a literal ends with quotes");
    return text;
}

void checkAppleScript(const ShellCommand& command) {
    const auto runner = std::make_shared<ScriptedCommandRunner>();
    AdministratorCommandRunner(runner).run(command);
    std::string_view script = runner->commands.front().arguments.at(1);
    constexpr std::string_view start = "do shell script ";
    constexpr std::string_view prompt = " with prompt ";
    require(script.starts_with(start), "it is a shell's line");
    script.remove_prefix(start.size());
    require(takeAppleScriptText(script) == shellLine(command), "the line comes through the script");
    if (script.starts_with(prompt)) {
        script.remove_prefix(prompt.size());
        require(takeAppleScriptText(script) == command.approvalPrompt, "the prompt comes through the script");
    }
    require(script == " with administrator privileges", "nothing else is in the script");
}

} // namespace
} // namespace tavo

/// A real shell understands quoted words as the words that they were. The input is words between null bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // What is quoted is longer, and has to fit into a pipe.
    constexpr std::size_t maxSize = 4096;
    if (size > maxSize) {
        return 0;
    }
    std::vector<std::string> words;
    for (const auto word : tavo::pieces({reinterpret_cast<const char*>(data), size}, '\0')) {
        words.emplace_back(word);
        const auto quoted = tavo::shellQuoted(word);
        tavo::require(tavo::wordsOfBash({quoted}).front().text == word, "the completion reads what was quoted");
    }
    const tavo::ShellCommand command{.executableURL = words.front(),
                                     .arguments = {words.begin() + 1, words.end()},
                                     .requiresPrivilege = true,
                                     .approvalPrompt = words.back()};
    static tavo::PrintingShell shell;
    tavo::require(shell.print(tavo::shellLine(command), words.size()) == words, "the shell has the same words");
    tavo::checkAppleScript(command);
    return 0;
}
