#pragma once

#include <exception>
#include <string>

namespace tavo {

/// The text of a failure as it is shown to the user. The errors of this program and the words of other programs say what
/// they say, byte for byte. A system error becomes a sentence like ours: in lower case, with a full stop.
std::string errorText(const std::exception& error);

/// What went wrong, to stand inside a sentence: without a full stop, and in lower case where the system's own text for an
/// error number begins with a capital.
std::string errorClause(const std::exception& error);

} // namespace tavo
