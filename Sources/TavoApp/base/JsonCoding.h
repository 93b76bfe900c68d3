#pragma once

#include "base/DescribedError.h"
#include "base/Json.h"
#include "base/RawValues.h"
#include "base/Time.h"

#include <nlohmann/json.hpp>

#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// Why a JSON text is not the value it should be. The description names the key ("config.json" adds the file).
class DecodingError final : public DescribedError {
public:
    enum class Kind { dataCorrupted, keyNotFound, typeMismatch, valueNotFound };

    /// @param path  the keys from the outermost object to the offending value, joined by dots; empty for the whole.
    DecodingError(Kind kind, std::string path, std::string debugDescription);

    Kind kind() const { return failureKind; }
    const std::string& path() const { return keyPath; }

    /// The problem, without the path.
    const std::string& debugDescription() const { return debugText; }

private:
    Kind failureKind;
    std::string keyPath;
    std::string debugText;
};

/// Parses JSON text (RFC 8259, UTF-8).
/// @throws DecodingError (dataCorrupted) that says at which line and column the text stops being JSON.
Json parseJson(std::string_view text);

/// Writes pretty-printed JSON with sorted keys and a newline at the end. Malformed UTF-8 in strings is written as
/// U+FFFD.
std::string prettyJson(const Json& value);

/// Reads the fields of a JSON object. Every failure is a DecodingError that names the field.
class JsonObjectReader {
public:
    /// @throws DecodingError (typeMismatch) when `value` is not an object. The reader keeps a reference to `value`.
    explicit JsonObjectReader(const Json& value, std::string path = {});

    bool contains(std::string_view key) const { return object.contains(key); }
    bool isNull(std::string_view key) const;

    /// The field's value. @throws DecodingError when it is missing, null or of another type.
    template <typename Value>
    Value required(std::string_view key) const {
        return JsonDecoder<Value>::decode(requiredField(key), pathOf(key));
    }

    /// The field's value, or nothing when it is missing or null. @throws DecodingError when it is of another type.
    template <typename Value>
    std::optional<Value> optional(std::string_view key) const {
        if (!contains(key) || isNull(key)) {
            return std::nullopt;
        }
        return required<Value>(key);
    }

    std::string pathOf(std::string_view key) const;

private:
    const Json& requiredField(std::string_view key) const;

    const Json& object;
    std::string path;
};

[[noreturn]] void throwTypeMismatch(const Json& found, const std::string& path, std::string_view expected);
[[noreturn]] void throwNumberOutOfRange(const Json& found, const std::string& path, unsigned bits);
[[noreturn]] void throwUnknownRawValue(std::string_view raw, const std::string& path);

template <>
struct JsonDecoder<bool> {
    static bool decode(const Json& value, const std::string& path);
};

template <>
struct JsonDecoder<std::string> {
    static std::string decode(const Json& value, const std::string& path);
};

template <>
struct JsonDecoder<TimePoint> {
    static TimePoint decode(const Json& value, const std::string& path);
};

template <>
struct JsonDecoder<std::int64_t> {
    /// A number written with a fraction or an exponent counts when it stands for a whole number exactly.
    static std::int64_t decode(const Json& value, const std::string& path);
};

template <>
struct JsonDecoder<std::int32_t> {
    static std::int32_t decode(const Json& value, const std::string& path);
};

template <HasRawValues Enumeration>
struct JsonDecoder<Enumeration> {
    static Enumeration decode(const Json& value, const std::string& path) {
        const auto raw = JsonDecoder<std::string>::decode(value, path);
        const auto decoded = fromRawValue<Enumeration>(raw);
        if (!decoded) {
            throwUnknownRawValue(raw, path);
        }
        return *decoded;
    }
};

/// A record says how it is read in a static member `fromJson(value, path)`.
template <typename Record>
requires requires(const Json& value, const std::string& path) {
    { Record::fromJson(value, path) } -> std::same_as<Record>;
}
struct JsonDecoder<Record> {
    static Record decode(const Json& value, const std::string& path) { return Record::fromJson(value, path); }
};

template <typename Element>
struct JsonDecoder<std::vector<Element>> {
    static std::vector<Element> decode(const Json& value, const std::string& path) {
        if (!value.is_array()) {
            throwTypeMismatch(value, path, "an array");
        }
        std::vector<Element> elements;
        elements.reserve(value.size());
        for (const auto& element : value) {
            elements.push_back(
                JsonDecoder<Element>::decode(element, path + "[" + std::to_string(elements.size()) + "]"));
        }
        return elements;
    }
};

} // namespace tavo
