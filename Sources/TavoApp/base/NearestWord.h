#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// The word that somebody most likely meant who typed another one; nothing when none is near enough to be worth asking.
///
/// Letter case never counts. Near is a word that up to a third of its letters were mistyped in, one at least: left out,
/// added, replaced, or swapped with the next. Where no word is that near, it is the only word that begins with what was
/// typed, from two letters on.
std::optional<std::string> nearestWord(std::string_view given, const std::vector<std::string>& words);

/// "; did you mean NAME?", or nothing without a name: the end of a sentence about something that does not exist.
std::string didYouMean(const std::optional<std::string>& name);

} // namespace tavo
