#include "helper/macos/AdministratorCommandRunner.h"

#include "system/CommandRunning.h"

namespace tavo {

namespace {

/// A text as AppleScript's string literal. Line feeds stand in it as they are.
std::string appleScriptLiteral(const std::string& text) {
    std::string literal = "\"";
    for (const char character : text) {
        if (character == '\\' || character == '"') {
            literal += '\\';
        }
        literal += character;
    }
    return literal + "\"";
}

ShellCommand withApproval(const ShellCommand& command) {
    if (!command.requiresPrivilege) {
        return command;
    }
    const auto prompt =
        command.approvalPrompt.empty() ? "" : " with prompt " + appleScriptLiteral(command.approvalPrompt);
    return {.executableURL = "/usr/bin/osascript",
            .arguments = {"-e", "do shell script " + appleScriptLiteral(shellLine(command)) + prompt +
                                    " with administrator privileges"}};
}

} // namespace

ShellCommandResult AdministratorCommandRunner::run(const ShellCommand& command) {
    return systemRunner->run(withApproval(command));
}

std::shared_ptr<RunningCommand> AdministratorCommandRunner::start(const ShellCommand& command) {
    return systemRunner->start(withApproval(command));
}

} // namespace tavo
