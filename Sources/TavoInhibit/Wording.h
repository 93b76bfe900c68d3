#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tavo {

/// Replaces every character that could steer a terminal or end a line by a space: C0, DEL, C1, the line and paragraph
/// separators, and the bidirectional controls. `text` is UTF-8, as D-Bus guarantees of its strings.
std::string withoutControls(std::string_view text);

/// At most `limit` bytes of UTF-8 text, cut between characters, with "..." where something was cut off.
std::string shortened(std::string_view text, std::size_t limit);

/// Another program's message made fit to stand in brackets inside another sentence: harmless, short, without its full
/// stop, and in lower case at the start unless that begins a name in capitals.
std::string quotedMessage(std::string_view message);

/// The system's text for an error number (positive, as in errno), fit for brackets too.
std::string quotedError(int error);

} // namespace tavo
