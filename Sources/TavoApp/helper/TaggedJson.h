#pragma once

#include "base/JsonCoding.h"

#include <nlohmann/json.hpp>

#include <span>
#include <string>
#include <string_view>

namespace tavo {

/// JSON whose keys stay in the order in which they were added, as the helper's messages have them.
using OrderedJson = nlohmann::ordered_json;

/// An object with one key, the case's name, over the case's fields, as compact JSON.
std::string encodeTagged(std::string_view caseName, const OrderedJson& fields = OrderedJson::object());

/// The one name among `caseNames` that is a key of `value`; other keys do not count.
/// @throws DecodingError (typeMismatch) when it is not an object, or when none or several of the names are there.
std::string_view taggedCase(const Json& value, const std::string& path, std::span<const std::string_view> caseNames);

/// The fields of the case `caseName`. The reader refers to `value`.
/// @throws DecodingError when they are not an object.
JsonObjectReader taggedFields(const Json& value, const std::string& path, std::string_view caseName);

} // namespace tavo
