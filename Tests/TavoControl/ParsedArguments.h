#pragma once

#include "TavoControl/ControlCommandLine.h"

#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tavo {

using Arguments = std::vector<std::string>;

inline std::variant<Invocation, UsageReply> parse(const Arguments& arguments) {
    std::vector<const char*> values{"tavoctl"};
    for (const auto& argument : arguments) {
        values.push_back(argument.c_str());
    }
    return parseCommandLine(static_cast<int>(values.size()), values.data());
}

/// @throws std::runtime_error with the sentence when the arguments are refused.
inline Invocation invocation(const Arguments& arguments) {
    auto parsed = parse(arguments);
    if (const auto* reply = std::get_if<UsageReply>(&parsed)) {
        throw std::runtime_error(reply->text);
    }
    return std::get<Invocation>(std::move(parsed));
}

inline UsageReply reply(const Arguments& arguments) {
    return std::get<UsageReply>(parse(arguments));
}

inline RunOptions run(Arguments arguments) {
    arguments.insert(arguments.begin(), "run");
    return std::get<RunOptions>(invocation(arguments).command);
}

inline ProcessesOptions processes(Arguments arguments) {
    arguments.insert(arguments.begin(), "processes");
    return std::get<ProcessesOptions>(invocation(arguments).command);
}

inline TriggerRule custom(TriggerMatchStrategy strategy, const std::string& query) {
    return {.mode = TriggerMode::process, .matchStrategy = strategy, .query = query};
}

} // namespace tavo
