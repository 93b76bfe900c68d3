#pragma once

#include <nlohmann/json_fwd.hpp>

namespace tavo {

/// JSON with sorted keys, as the files have them. Declared here for the headers of records; JsonCoding.h defines it.
using Json = nlohmann::json;

/// Decodes one value; specialised for what the project's records hold.
template <typename Value>
struct JsonDecoder;

} // namespace tavo
