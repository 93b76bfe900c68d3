#pragma once

#include "helper/PrivilegedHelperClient.h"

#include <deque>
#include <exception>
#include <functional>
#include <variant>
#include <vector>

namespace tavo {

/// Records the commands that it is asked to send, and answers as the test has prepared.
class ScriptedHelperClient final : public PrivilegedHelperClient {
public:
    using Answer = std::variant<PrivilegedHelperResponse, std::exception_ptr>;

    PrivilegedHelperResponse send(const PrivilegedHelperCommand& command) override {
        commands.push_back(command);
        if (onSend) {
            onSend(command);
        }
        auto answer = otherwise;
        if (!answers.empty()) {
            answer = answers.front();
            answers.pop_front();
        }
        if (const auto* failure = std::get_if<std::exception_ptr>(&answer)) {
            std::rethrow_exception(*failure);
        }
        return std::get<PrivilegedHelperResponse>(answer);
    }

    std::vector<PrivilegedHelperCommand> commands;

    /// Used up one by one; `otherwise` comes after them.
    std::deque<Answer> answers;
    Answer otherwise = PrivilegedHelperResponse::pong();

    /// Called by every command.
    std::function<void(const PrivilegedHelperCommand&)> onSend;
};

} // namespace tavo
