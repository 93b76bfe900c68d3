#include "helper/TaggedJson.h"

#include "base/JsonCoding.h"

namespace tavo {

std::string encodeTagged(std::string_view caseName, const OrderedJson& fields) {
    auto message = OrderedJson::object();
    message[std::string(caseName)] = fields;
    constexpr int compact = -1;
    return message.dump(compact, ' ', false, OrderedJson::error_handler_t::replace);
}

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

JsonObjectReader taggedFields(const Json& value, const std::string& path, std::string_view caseName) {
    const JsonObjectReader object(value, path);
    if (object.isNull(caseName)) {
        throw DecodingError(DecodingError::Kind::valueNotFound, object.pathOf(caseName),
                            "expected an object but found null.");
    }
    return JsonObjectReader(*value.find(caseName), object.pathOf(caseName));
}

} // namespace tavo
