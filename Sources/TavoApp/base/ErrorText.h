#pragma once

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <string>
#include <utility>

namespace tavo {

/// The text of a failure as it is shown to the user. The errors of this program and the words of other programs are
/// kept byte for byte. A system error becomes a sentence of the same form: in lower case, with a full stop.
std::string errorText(const std::exception& error);

/// The text of a failure as a clause inside a sentence: without a full stop, and in lower case where the system's own
/// text for an error number begins with a capital.
std::string errorClause(const std::exception& error);

/// Writes to the standard error, and never fails: a reader that has gone, or a full disk, must not decide how a program
/// ends.
template <typename... Arguments>
void printError(fmt::format_string<Arguments...> format, Arguments&&... arguments) noexcept {
    try {
        std::fputs(fmt::format(format, std::forward<Arguments>(arguments)...).c_str(), stderr);
    } catch (const std::exception&) {
        std::fputs("an error could not be put into words.\n", stderr);
    }
}

} // namespace tavo
