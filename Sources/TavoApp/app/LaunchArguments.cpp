#include "app/LaunchArguments.h"

#include <algorithm>
#include <string_view>

namespace tavo {

namespace {

/// "-psn_HIGH_LOW", two numbers.
bool isProcessSerialNumber(std::string_view argument) {
    constexpr std::string_view prefix = "-psn_";
    if (!argument.starts_with(prefix)) {
        return false;
    }
    argument.remove_prefix(prefix.size());
    const auto separator = argument.find('_');
    const auto isNumber = [](std::string_view text) {
        return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    };
    return separator != std::string_view::npos && isNumber(argument.substr(0, separator)) &&
           isNumber(argument.substr(separator + 1));
}

} // namespace

std::vector<char*> withoutProcessSerialNumber(int count, char** values) {
    std::vector<char*> arguments(values, values + count);
    if (arguments.size() > 1 && isProcessSerialNumber(arguments[1])) {
        arguments.erase(arguments.begin() + 1);
    }
    arguments.push_back(nullptr);
    return arguments;
}

} // namespace tavo
