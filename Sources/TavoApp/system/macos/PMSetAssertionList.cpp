#include "system/macos/PMSetAssertionList.h"

#include "base/DescribedError.h"
#include "base/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace tavo {

namespace {

constexpr std::array<std::string_view, 3> sleepPreventingTypes{"PreventUserIdleSystemSleep", "PreventSystemSleep",
                                                               "NoIdleSleepAssertion"};

std::optional<HeldAssertion> parseLine(std::string_view line) {
    constexpr std::string_view start = "pid ";
    line = trimWhitespace(line);
    // A process's name may hold anything, so what follows it counts from the assertion's id on.
    const auto nameEnd = line.find("): [");
    const auto named = line.find(" named: ", nameEnd);
    if (!line.starts_with(start) || nameEnd == std::string_view::npos || named == std::string_view::npos) {
        return std::nullopt;
    }
    HeldAssertion assertion;
    const auto* const end = line.data() + line.size();
    const auto [nameStart, error] = std::from_chars(line.data() + start.size(), end, assertion.pid);
    if (error != std::errc() || assertion.pid <= 0 || *nameStart != '(') {
        return std::nullopt;
    }
    const auto nameAt = static_cast<std::size_t>(nameStart - line.data()) + 1;
    assertion.who = line.substr(nameAt, nameEnd - nameAt);
    const auto typeAt = line.rfind(' ', named - 1) + 1;
    assertion.what = line.substr(typeAt, named - typeAt);
    return assertion;
}

} // namespace

std::vector<HeldAssertion> PMSetAssertionList::heldAssertions() {
    const auto result = runner->run({.executableURL = "/usr/bin/pmset", .arguments = {"-g", "assertions"}});
    if (result.exitCode != 0) {
        throw DescribedError(result.standardError.empty() ? "pmset could not list what holds off sleep."
                                                          : result.standardError);
    }
    return parse(result.standardOutput);
}

std::vector<HeldAssertion> PMSetAssertionList::parse(const std::string& output) {
    std::vector<HeldAssertion> assertions;
    for (const auto line : splitLines(output)) {
        const auto assertion = parseLine(line);
        if (assertion && std::find(sleepPreventingTypes.begin(), sleepPreventingTypes.end(), assertion->what) !=
                             sleepPreventingTypes.end()) {
            assertions.push_back(*assertion);
        }
    }
    return assertions;
}

} // namespace tavo
