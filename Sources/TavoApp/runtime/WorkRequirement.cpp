#include "runtime/WorkRequirement.h"

#include "base/Duration.h"
#include "base/JsonCoding.h"
#include "system/DecimalText.h"

#include <fmt/format.h>

namespace tavo {

namespace {

bool isBusyPercent(double percent) {
    return percent > 0 && percent <= WorkRequirement::highestBusyPercent;
}

} // namespace

double parseBusyPercent(const std::string& text) {
    const auto percent = parseDecimal(text);
    if (!percent || !isBusyPercent(*percent)) {
        throw WorkRequirementError(
            fmt::format("--busy takes a percentage of one core, a number above 0 and up to {}, not \"{}\"",
                        busyPercentText(WorkRequirement::highestBusyPercent), text));
    }
    return *percent;
}

std::chrono::seconds parseGrace(const std::string& text) {
    const auto grace = parseDuration(text);
    return grace ? *grace
                 : throw WorkRequirementError(fmt::format("--grace takes {}, or 0, not \"{}\"", durationForms, text));
}

std::string busyPercentText(double percent) {
    return fmt::format("{}", percent);
}

WorkRequirement WorkRequirement::fromOptions(const std::string& busy, const std::string& grace) {
    return {.busyPercent = busy.empty() ? defaultBusyPercent : parseBusyPercent(busy),
            .grace = grace.empty() ? defaultGrace : parseGrace(grace)};
}

std::vector<std::string> WorkRequirement::arguments() const {
    std::vector<std::string> result{"--while-working"};
    if (busyPercent != defaultBusyPercent) {
        result.insert(result.end(), {"--busy", busyPercentText(busyPercent)});
    }
    if (grace != defaultGrace) {
        result.insert(result.end(), {"--grace", formatDuration(grace)});
    }
    return result;
}

WorkRequirement WorkRequirement::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    const auto seconds = reader.required<std::int64_t>("graceSeconds");
    if (seconds < 0 || seconds > maxDuration.count()) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, reader.pathOf("graceSeconds"), "no possible grace.");
    }
    const auto percent = value.find("busyPercent");
    if (percent == value.end() || !percent->is_number() || !isBusyPercent(percent->get<double>())) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, reader.pathOf("busyPercent"),
                            "no possible percentage.");
    }
    return {.busyPercent = percent->get<double>(), .grace = std::chrono::seconds{seconds}};
}

void to_json(Json& json, const WorkRequirement& requirement) {
    json = Json{{"busyPercent", requirement.busyPercent}, {"graceSeconds", requirement.grace.count()}};
}

} // namespace tavo
