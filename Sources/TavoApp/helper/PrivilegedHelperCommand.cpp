#include "helper/PrivilegedHelperCommand.h"

#include "base/JsonCoding.h"
#include "helper/TaggedJson.h"

#include <array>

namespace tavo {

namespace {

constexpr std::string_view pingName = "ping";
constexpr std::string_view setSleepDisabledName = "setSleepDisabled";
constexpr std::string_view resetSupportName = "resetSupport";
constexpr std::array caseNames{pingName, setSleepDisabledName, resetSupportName};

struct Encoder {
    std::string operator()(const PrivilegedHelperCommand::Ping&) const { return encodeTagged(pingName); }

    std::string operator()(const PrivilegedHelperCommand::SetSleepDisabled& command) const {
        return encodeTagged(setSleepDisabledName,
                            OrderedJson::object({{"scope", rawValue(command.scope)}, {"disabled", command.disabled}}));
    }

    std::string operator()(const PrivilegedHelperCommand::ResetSupport&) const {
        return encodeTagged(resetSupportName);
    }
};

} // namespace

std::string PrivilegedHelperCommand::encoded() const {
    return std::visit(Encoder{}, value);
}

PrivilegedHelperCommand PrivilegedHelperCommand::decode(std::string_view text) {
    return fromJson(parseJson(text));
}

PrivilegedHelperCommand PrivilegedHelperCommand::fromJson(const Json& value, const std::string& path) {
    const auto name = taggedCase(value, path, caseNames);
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

} // namespace tavo
