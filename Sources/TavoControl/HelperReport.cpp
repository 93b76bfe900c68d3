#include "TavoControl/HelperReport.h"

#include "base/JsonCoding.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tavo {

namespace {

std::string_view nameOf(PrivilegedHelperInstallState state) {
    switch (state) {
    case PrivilegedHelperInstallState::notInstalled:
        return "notInstalled";
    case PrivilegedHelperInstallState::installedUnreachable:
        return "installedUnreachable";
    case PrivilegedHelperInstallState::ready:
        return "ready";
    }
    return "";
}

std::string inWords(PrivilegedHelperInstallState state) {
    switch (state) {
    case PrivilegedHelperInstallState::notInstalled:
        return "not installed; tavoctl helper install grants staying awake with the lid closed";
    case PrivilegedHelperInstallState::installedUnreachable:
        return "installed, but does not answer; tavoctl helper install installs it again";
    case PrivilegedHelperInstallState::ready:
        return "ready";
    }
    return "";
}

std::vector<std::string_view> namesOf(const std::vector<PMSetScope>& scopes) {
    std::vector<std::string_view> names;
    for (const auto scope : scopes) {
        names.push_back(rawValue(scope));
    }
    return names;
}

std::string lineOf(std::string_view subject, std::string_view finding) {
    return fmt::format("{:<12} {}", subject, finding);
}

std::string comparison(const HelperFacts& facts) {
    if (!facts.hasSource) {
        return "this build comes with none to compare it with";
    }
    return facts.matchesThisBuild ? "the same file as this build's" : "another file than this build's";
}

} // namespace

std::vector<std::string> helperReportLines(const HelperFacts& facts) {
    std::vector lines{lineOf("helper", inWords(facts.state)), lineOf("this build", facts.buildVersion)};
    if (isInstalled(facts.state)) {
        lines.push_back(lineOf(
            "installed", fmt::format("{}, {}", facts.installedVersion.value_or("version unknown"), comparison(facts))));
    }
    if (facts.otherDefinition) {
        lines.push_back(lineOf("service", fmt::format("{} is another file than this build's, and may start another "
                                                      "program; tavoctl helper install replaces it",
                                                      facts.otherDefinition->string())));
    }
    for (const auto& owned : facts.overrides) {
        lines.push_back(lineOf(
            "override", fmt::format("{} for process {}", fmt::join(namesOf(owned.scopes), ", "), owned.owner.pid)));
    }
    if (facts.overridesError) {
        lines.push_back(lineOf("override", *facts.overridesError));
    } else if (facts.overrides.empty()) {
        lines.push_back(lineOf("override", "none"));
    }
    return lines;
}

Json helperReportJson(const HelperFacts& facts) {
    auto overrides = Json::array();
    for (const auto& owned : facts.overrides) {
        overrides.push_back({{"pid", owned.owner.pid}, {"scopes", namesOf(owned.scopes)}});
    }
    return {{"state", nameOf(facts.state)},
            {"buildVersion", facts.buildVersion},
            {"installedVersion", facts.installedVersion ? Json(*facts.installedVersion) : Json()},
            {"matchesThisBuild", facts.matchesThisBuild && !facts.otherDefinition},
            {"overrides", overrides},
            {"overridesError", facts.overridesError ? Json(*facts.overridesError) : Json()}};
}

} // namespace tavo
