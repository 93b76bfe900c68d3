#pragma once

#include "base/DescribedError.h"

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tavo {

/// A value of a property list, of the types that launchd.plist(5) needs here.
struct PropertyListValue {
    using Array = std::vector<PropertyListValue>;

    /// In the order in which the file has them; no key stands twice.
    using Dictionary = std::vector<std::pair<std::string, PropertyListValue>>;

    PropertyListValue(bool value) : value(value) {}
    PropertyListValue(std::int64_t number) : value(number) {}
    PropertyListValue(std::string text) : value(std::move(text)) {}
    PropertyListValue(const char* text) : value(std::string(text)) {}
    PropertyListValue(Array elements) : value(std::move(elements)) {}
    PropertyListValue(Dictionary entries) : value(std::move(entries)) {}

    bool operator==(const PropertyListValue&) const = default;

    std::variant<bool, std::int64_t, std::string, Array, Dictionary> value;
};

/// A property list holds a text that XML cannot carry.
class PropertyListError final : public DescribedError {
public:
    PropertyListError()
        : DescribedError("a property list cannot hold control characters or text that is not valid utf-8.") {}
};

/// Writes a property list in the XML format, plist(5), UTF-8 with a newline at the end.
/// @throws PropertyListError when a key or a text holds a carriage return or a character outside XML
/// 1.0's, 2.2 Characters.
std::string propertyListXML(const PropertyListValue& root);

} // namespace tavo
