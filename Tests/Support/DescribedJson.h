#pragma once

#include "base/Json.h"

#include <string>

namespace tavo {

/// Reads JSON that Tavo has printed or written. The test fails where a schema of docs/schema does not describe it in
/// full, so also when it has a field that the schema does not name.
/// @param schema  its name, as in "status".
Json describedJson(const std::string& schema, const std::string& text);

/// The same for a value that is yet to be printed.
Json describedJson(const std::string& schema, const Json& value);

} // namespace tavo
