#include "helper/PrivilegedHelperMessages.h"

#include "base/JsonCoding.h"

#include <nlohmann/json.hpp>

#include <array>
#include <span>

namespace tavo {

namespace {

/// JSON whose keys stay in the order in which they were added.
using OrderedJson = nlohmann::ordered_json;

/// An object with one key, the case's name, over the case's fields, as compact JSON.
std::string encodeTagged(std::string_view caseName, const OrderedJson& fields = OrderedJson::object()) {
    auto message = OrderedJson::object();
    message[std::string(caseName)] = fields;
    constexpr int compact = -1;
    return message.dump(compact, ' ', false, OrderedJson::error_handler_t::replace);
}

/// The one name among `caseNames` that is a key of `value`; other keys do not count.
/// @throws DecodingError (typeMismatch) when it is not an object, or when none or several of the names are there.
std::string_view taggedCase(const Json& value, const std::string& path, std::span<const std::string_view> caseNames) {
    const JsonObjectReader object(value, path);
    std::string_view found;
    std::size_t count = 0;
    for (const auto name : caseNames) {
        if (object.contains(name)) {
            found = name;
            ++count;
        }
    }
    if (count != 1) {
        throw DecodingError(DecodingError::Kind::typeMismatch, path, "Invalid number of keys found, expected one.");
    }
    return found;
}

/// The fields of the case `caseName`. The reader refers to `value`.
/// @throws DecodingError when they are not an object.
JsonObjectReader taggedFields(const Json& value, const std::string& path, std::string_view caseName) {
    const JsonObjectReader object(value, path);
    if (object.isNull(caseName)) {
        throw DecodingError(DecodingError::Kind::valueNotFound, object.pathOf(caseName),
                            "expected an object but found null.");
    }
    return JsonObjectReader(*value.find(caseName), object.pathOf(caseName));
}

constexpr std::string_view pingName = "ping";
constexpr std::string_view setSleepDisabledName = "setSleepDisabled";
constexpr std::string_view resetSupportName = "resetSupport";
constexpr std::array commandNames{pingName, setSleepDisabledName, resetSupportName};

struct CommandEncoder {
    std::string operator()(const PrivilegedHelperCommand::Ping&) const { return encodeTagged(pingName); }

    std::string operator()(const PrivilegedHelperCommand::SetSleepDisabled& command) const {
        return encodeTagged(setSleepDisabledName,
                            OrderedJson::object({{"scope", rawValue(command.scope)}, {"disabled", command.disabled}}));
    }

    std::string operator()(const PrivilegedHelperCommand::ResetSupport&) const {
        return encodeTagged(resetSupportName);
    }
};

constexpr std::string_view okName = "ok";
constexpr std::string_view pongName = "pong";
constexpr std::string_view errorName = "error";
constexpr std::array responseNames{okName, pongName, errorName};

/// The key of a case's only field, which has no name.
constexpr const char* unnamedField = "_0";

struct ResponseEncoder {
    std::string operator()(const PrivilegedHelperResponse::Ok&) const { return encodeTagged(okName); }
    std::string operator()(const PrivilegedHelperResponse::Pong&) const { return encodeTagged(pongName); }
    std::string operator()(const PrivilegedHelperResponse::Error& error) const {
        return encodeTagged(errorName, OrderedJson::object({{unnamedField, error.message}}));
    }
};

} // namespace

std::string PrivilegedHelperCommand::encoded() const {
    return std::visit(CommandEncoder{}, value);
}

PrivilegedHelperCommand PrivilegedHelperCommand::decode(std::string_view text) {
    return fromJson(parseJson(text));
}

PrivilegedHelperCommand PrivilegedHelperCommand::fromJson(const Json& value, const std::string& path) {
    const auto name = taggedCase(value, path, commandNames);
    const auto fields = taggedFields(value, path, name);
    if (name == pingName) {
        return ping();
    }
    if (name == resetSupportName) {
        return resetSupport();
    }
    const auto scope = fields.required<PMSetScope>("scope");
    return setSleepDisabled(scope, fields.required<bool>("disabled"));
}

std::string PrivilegedHelperResponse::encoded() const {
    return std::visit(ResponseEncoder{}, value);
}

PrivilegedHelperResponse PrivilegedHelperResponse::decode(std::string_view text) {
    return fromJson(parseJson(text));
}

PrivilegedHelperResponse PrivilegedHelperResponse::fromJson(const Json& value, const std::string& path) {
    const auto name = taggedCase(value, path, responseNames);
    const auto fields = taggedFields(value, path, name);
    if (name == okName) {
        return ok();
    }
    if (name == pongName) {
        return pong();
    }
    return error(fields.required<std::string>(unnamedField));
}

} // namespace tavo
