#include "base/JsonCoding.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace tavo {

namespace {

std::string describeFailure(const std::string& path, const std::string& debugDescription) {
    return path.empty() ? debugDescription : fmt::format("{}: {}", path, debugDescription);
}

/// The files and messages here go three levels deep; a parser without a limit runs out of memory.
constexpr int deepestNesting = 64;

/// @param depth  how many objects and arrays surround what has been parsed.
bool refuseDeepNesting(int depth, Json::parse_event_t event, const Json&) {
    const bool begins = event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start;
    if (begins && depth >= deepestNesting) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, {},
                            fmt::format("the text is nested more than {} levels deep.", deepestNesting));
    }
    return true;
}

[[noreturn]] void throwUnexpectedInput(std::string_view text, std::size_t offset) {
    const auto consumed = text.substr(0, offset);
    const auto line = 1 + std::count(consumed.begin(), consumed.end(), '\n');
    const auto lineStart = consumed.rfind('\n') + 1; // npos + 1 is 0: the first line has no newline before it
    throw DecodingError(DecodingError::Kind::dataCorrupted, {},
                        fmt::format("the text is not valid json: unexpected input at line {}, column {}.", line,
                                    consumed.size() - lineStart + 1));
}

} // namespace

DecodingError::DecodingError(Kind kind, std::string path, std::string debugDescription)
    : DescribedError(describeFailure(path, debugDescription)), failureKind(kind), keyPath(std::move(path)),
      debugText(std::move(debugDescription)) {}

Json parseJson(std::string_view text) {
    // The library takes this byte for the end of the text and would ignore everything after it.
    const auto terminator = text.find('\0');
    if (terminator != std::string_view::npos) {
        throwUnexpectedInput(text, terminator);
    }
    try {
        return Json::parse(text, refuseDeepNesting);
    } catch (const Json::parse_error& error) {
        throwUnexpectedInput(text, std::min(error.byte == 0 ? 0 : error.byte - 1, text.size()));
    } catch (const Json::out_of_range&) {
        // JSON sets no limit to a number, but nothing here can hold one past the largest double.
        throw DecodingError(DecodingError::Kind::dataCorrupted, {}, "the text holds a number that is too large.");
    }
}

std::string prettyJson(const Json& value) {
    constexpr int indentation = 2;
    return value.dump(indentation, ' ', false, Json::error_handler_t::replace) + "\n";
}

JsonObjectReader::JsonObjectReader(const Json& value, std::string path) : object(value), path(std::move(path)) {
    if (!value.is_object()) {
        throwTypeMismatch(value, this->path, "an object");
    }
}

bool JsonObjectReader::isNull(std::string_view key) const {
    const auto field = object.find(key);
    return field != object.end() && field->is_null();
}

std::string JsonObjectReader::pathOf(std::string_view key) const {
    return path.empty() ? std::string(key) : fmt::format("{}.{}", path, key);
}

const Json& JsonObjectReader::requiredField(std::string_view key) const {
    const auto field = object.find(key);
    if (field == object.end()) {
        throw DecodingError(DecodingError::Kind::keyNotFound, pathOf(key), "the key is missing.");
    }
    if (field->is_null()) {
        throw DecodingError(DecodingError::Kind::valueNotFound, pathOf(key), "expected a value but found null.");
    }
    return *field;
}

void throwTypeMismatch(const Json& found, const std::string& path, std::string_view expected) {
    throw DecodingError(DecodingError::Kind::typeMismatch, path,
                        fmt::format("expected {} but found {} {}.", expected,
                                    found.is_array() || found.is_object() ? "an" : "a", found.type_name()));
}

void throwNumberOutOfRange(const Json& found, const std::string& path, unsigned bits) {
    throw DecodingError(DecodingError::Kind::dataCorrupted, path,
                        fmt::format("the number {} does not fit a whole number of {} bits.", found.dump(), bits));
}

void throwUnknownRawValue(std::string_view raw, const std::string& path) {
    throw DecodingError(DecodingError::Kind::dataCorrupted, path, fmt::format("\"{}\" is not a known value.", raw));
}

bool JsonDecoder<bool>::decode(const Json& value, const std::string& path) {
    if (!value.is_boolean()) {
        throwTypeMismatch(value, path, "true or false");
    }
    return value.get<bool>();
}

std::string JsonDecoder<std::string>::decode(const Json& value, const std::string& path) {
    if (!value.is_string()) {
        throwTypeMismatch(value, path, "a string");
    }
    return value.get<std::string>();
}

TimePoint JsonDecoder<TimePoint>::decode(const Json& value, const std::string& path) {
    const auto moment = parseISO8601(JsonDecoder<std::string>::decode(value, path));
    if (!moment) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, path, "expected a date such as 2026-01-31T09:05:00Z.");
    }
    return *moment;
}

std::int64_t JsonDecoder<std::int64_t>::decode(const Json& value, const std::string& path) {
    if (!value.is_number()) {
        throwTypeMismatch(value, path, "a number");
    }
    if (value.is_number_float()) {
        // Every whole number up to here has a double of its own; past it the text may have meant another number.
        constexpr double exactLimit = 9007199254740992.0;
        const auto number = value.get<double>();
        if (std::trunc(number) != number || std::abs(number) > exactLimit) {
            throwNumberOutOfRange(value, path, 64);
        }
        return static_cast<std::int64_t>(number);
    }
    if (value.is_number_unsigned() &&
        value.get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        throwNumberOutOfRange(value, path, 64);
    }
    return value.get<std::int64_t>();
}

std::int32_t JsonDecoder<std::int32_t>::decode(const Json& value, const std::string& path) {
    const auto number = JsonDecoder<std::int64_t>::decode(value, path);
    if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::int32_t>::max()) {
        throwNumberOutOfRange(value, path, 32);
    }
    return static_cast<std::int32_t>(number);
}

} // namespace tavo
