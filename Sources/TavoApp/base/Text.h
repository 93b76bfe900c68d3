#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// The horizontal white space of Unicode: general category Zs, and the tab.
bool isWhitespace(char32_t character);

/// isWhitespace(), and every newline: U+000A to U+000D, U+0085, U+2028 and U+2029.
bool isWhitespaceOrNewline(char32_t character);

/// Replaces every malformed sequence by U+FFFD, so that the result is valid UTF-8. Never fails.
std::string repairUTF8(std::string_view bytes);

/// The same, into a text that takes no new memory when it was as long before.
void repairUTF8(std::string_view bytes, std::string& repaired);

/// Takes white space and newlines off both ends. The view points into `text`, which is UTF-8.
std::string_view trimWhitespaceAndNewlines(std::string_view text);

/// Takes horizontal white space off both ends. The view points into `text`, which is UTF-8.
std::string_view trimWhitespace(std::string_view text);

/// Splits at every newline character; empty lines are left out. The views point into `text`, which is UTF-8.
std::vector<std::string_view> splitLines(std::string_view text);

/// The length in bytes of the first `count` characters (extended grapheme clusters, Unicode Standard Annex 29) of
/// `text`, or of the whole text when it has fewer.
std::size_t prefixLength(std::string_view text, std::size_t count);

/// The text in lower case, letter by letter (Unicode's simple case mapping, the same in every language).
std::string lowercased(std::string_view text);

/// Makes control characters visible, so that text from outside cannot steer a terminal: C0 and DEL as caret notation
/// ("^[", "^?"), C1, line and paragraph separators and the bidirectional controls as "\u{202e}".
std::string visibleControls(std::string_view text);

/// The same for JSON text, in which C0 is escaped already: the others become escapes of JSON's own ("\u202e").
std::string escapedControlsInJson(std::string_view json);

} // namespace tavo
