#pragma once

#include <exception>
#include <string>

namespace tavo {

/// What went wrong, to stand inside a sentence: without a full stop, and in lower case where the system's own text for an
/// error number begins with a capital.
std::string errorClause(const std::exception& error);

/// What went wrong, as a sentence of its own.
std::string errorSentence(const std::exception& error);

} // namespace tavo
