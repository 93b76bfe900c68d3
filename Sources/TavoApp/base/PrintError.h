#pragma once

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <utility>

namespace tavo {

/// Writes to the standard error, and never fails: a reader that has gone, or a full disk, must not decide how a program ends.
template <typename... Arguments>
void printError(fmt::format_string<Arguments...> format, Arguments&&... arguments) noexcept {
    try {
        std::fputs(fmt::format(format, std::forward<Arguments>(arguments)...).c_str(), stderr);
    } catch (const std::exception&) {
        std::fputs("an error could not be put into words.\n", stderr);
    }
}

} // namespace tavo
