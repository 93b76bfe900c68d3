#include "helper/PrivilegedHelperResponse.h"

#include "base/JsonCoding.h"
#include "helper/TaggedJson.h"

#include <array>

namespace tavo {

namespace {

constexpr std::string_view okName = "ok";
constexpr std::string_view pongName = "pong";
constexpr std::string_view errorName = "error";
constexpr std::array caseNames{okName, pongName, errorName};

/// The key of a case's only field, which has no name.
constexpr const char* unnamedField = "_0";

struct Encoder {
    std::string operator()(const PrivilegedHelperResponse::Ok&) const { return encodeTagged(okName); }
    std::string operator()(const PrivilegedHelperResponse::Pong&) const { return encodeTagged(pongName); }
    std::string operator()(const PrivilegedHelperResponse::Error& error) const {
        return encodeTagged(errorName, OrderedJson::object({{unnamedField, error.message}}));
    }
};

} // namespace

std::string PrivilegedHelperResponse::encoded() const {
    return std::visit(Encoder{}, value);
}

PrivilegedHelperResponse PrivilegedHelperResponse::decode(std::string_view text) {
    return fromJson(parseJson(text));
}

PrivilegedHelperResponse PrivilegedHelperResponse::fromJson(const Json& value, const std::string& path) {
    const auto name = taggedCase(value, path, caseNames);
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
