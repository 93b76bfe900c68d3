#include "Require.h"
#include "system/macos/PropertyList.h"

#include <expat.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {
namespace {

using Array = PropertyListValue::Array;
using Dictionary = PropertyListValue::Dictionary;

/// Makes a value of bytes: each begins with the letter of its type.
class ValueMaker {
public:
    explicit ValueMaker(std::string_view bytes) : bytes(bytes) {}

    PropertyListValue value(int depth = 0) {
        constexpr int maxDepth = 6;
        const char type = takeByte();
        if (type == '[' && depth < maxDepth) {
            Array elements;
            while (!isAtEnd(']')) {
                elements.push_back(value(depth + 1));
            }
            return elements;
        }
        if (type == '{' && depth < maxDepth) {
            Dictionary entries;
            while (!isAtEnd('}')) {
                auto key = text();
                entries.emplace_back(std::move(key), value(depth + 1));
            }
            return entries;
        }
        if (type == 'y' || type == 'n') {
            return type == 'y';
        }
        if (type == 'i') {
            std::int64_t number = 0;
            const auto length = std::min(bytes.size(), sizeof(number));
            std::memcpy(&number, bytes.data(), length);
            bytes.remove_prefix(length);
            return number;
        }
        return text();
    }

private:
    char takeByte() {
        if (bytes.empty()) {
            return 's';
        }
        const char first = bytes.front();
        bytes.remove_prefix(1);
        return first;
    }

    bool isAtEnd(char bracket) {
        if (!bytes.empty() && bytes.front() == bracket) {
            bytes.remove_prefix(1);
            return true;
        }
        return bytes.empty();
    }

    /// Up to the next bar.
    std::string text() {
        const auto length = std::min(bytes.find('|'), bytes.size());
        std::string result(bytes.substr(0, length));
        bytes.remove_prefix(std::min(length + 1, bytes.size()));
        return result;
    }

    std::string_view bytes;
};

/// Reads a property list by the events of another XML reader.
class PropertyListReader {
public:
    /// Nothing when it is no well-formed XML.
    std::optional<PropertyListValue> read(std::string_view xml) {
        const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreate(nullptr),
                                                                                  XML_ParserFree);
        XML_SetUserData(parser.get(), this);
        XML_SetElementHandler(parser.get(), onStart, onEnd);
        XML_SetCharacterDataHandler(parser.get(), onText);
        if (XML_Parse(parser.get(), xml.data(), static_cast<int>(xml.size()), 1) != XML_STATUS_OK) {
            return std::nullopt;
        }
        require(finished.size() == 1, "a list is one value");
        return finished.front().value;
    }

private:
    /// A value, with its key in a dictionary.
    struct Entry {
        std::string key;
        PropertyListValue value;
    };

    static void onStart(void* self, const char* /*element*/, const char** /*attributes*/) {
        auto& reader = *static_cast<PropertyListReader*>(self);
        reader.text.clear();
        reader.outer.push_back(std::move(reader.finished));
        reader.finished.clear();
        reader.outerKeys.push_back(std::move(reader.key));
        reader.key.clear();
    }

    static void onText(void* self, const char* text, int length) {
        static_cast<PropertyListReader*>(self)->text.append(text, static_cast<std::size_t>(length));
    }

    static void onEnd(void* self, const char* element) { static_cast<PropertyListReader*>(self)->end(element); }

    void end(std::string_view element) {
        auto inside = std::move(finished);
        finished = std::move(outer.back());
        outer.pop_back();
        key = std::move(outerKeys.back());
        outerKeys.pop_back();
        if (element == "key") {
            key = std::move(text);
        } else if (element == "plist") {
            finished = std::move(inside);
        } else {
            finished.push_back({std::move(key), valueOf(element, std::move(inside))});
            key.clear();
        }
        text.clear();
    }

    PropertyListValue valueOf(std::string_view element, std::vector<Entry> inside) {
        if (element == "true" || element == "false") {
            return element == "true";
        }
        if (element == "integer") {
            return static_cast<std::int64_t>(std::stoll(text));
        }
        if (element == "array") {
            Array elements;
            for (auto& entry : inside) {
                elements.push_back(std::move(entry.value));
            }
            return elements;
        }
        if (element == "dict") {
            Dictionary entries;
            for (auto& entry : inside) {
                entries.emplace_back(std::move(entry.key), std::move(entry.value));
            }
            return entries;
        }
        require(element == "string", "every element is one of the format's");
        return std::move(text);
    }

    std::vector<Entry> finished;
    std::vector<std::vector<Entry>> outer;
    std::string key;
    std::vector<std::string> outerKeys;
    std::string text;
};

/// Whether XML carries a text unchanged, by the other reader's word.
bool isCarriedByXML(const std::string& text) {
    std::string xml = "<string>";
    for (const char character : text) {
        xml += character == '&'   ? "&amp;"
               : character == '<' ? "&lt;"
               : character == '>' ? "&gt;"
                                  : std::string(1, character);
    }
    const auto read = PropertyListReader().read(xml + "</string>");
    return read && *read == PropertyListValue(text);
}

bool isCarried(const PropertyListValue& value) {
    if (const auto* text = std::get_if<std::string>(&value.value)) {
        return isCarriedByXML(*text);
    }
    if (const auto* elements = std::get_if<Array>(&value.value)) {
        return std::all_of(elements->begin(), elements->end(), isCarried);
    }
    if (const auto* entries = std::get_if<Dictionary>(&value.value)) {
        return std::all_of(entries->begin(), entries->end(),
                           [](const auto& entry) { return isCarriedByXML(entry.first) && isCarried(entry.second); });
    }
    return true;
}

} // namespace
} // namespace tavo

/// Every value that XML can carry is written so that another reader reads it back, and no other value is written.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto value = tavo::ValueMaker({reinterpret_cast<const char*>(data), size}).value();
    try {
        const auto text = tavo::propertyListXML(value);
        const auto again = tavo::PropertyListReader().read(text);
        tavo::require(again && *again == value, "what was written reads back");
    } catch (const tavo::PropertyListError&) {
        tavo::require(!tavo::isCarried(value), "only what XML cannot carry is refused");
    }
    return 0;
}
