#include "Pieces.h"
#include "Require.h"
#include "base/Text.h"
#include "system/macos/PMSetAssertionList.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {
namespace {

constexpr std::array<const char*, 3> sleepPreventingTypes{"PreventUserIdleSystemSleep", "PreventSystemSleep",
                                                          "NoIdleSleepAssertion"};
constexpr std::array<const char*, 4> types{"PreventUserIdleSystemSleep", "PreventSystemSleep", "NoIdleSleepAssertion",
                                           "UserIsActive"};

bool keepsAwake(const std::string& type) {
    return std::find(sleepPreventingTypes.begin(), sleepPreventingTypes.end(), type) != sleepPreventingTypes.end();
}

/// Whether a name can be told from what stands around it.
bool isPlainName(std::string_view name) {
    return name.find("): [") == std::string_view::npos && (name.empty() || splitLines(name) == std::vector{name});
}

/// A line as pmset prints it.
std::string lineOf(const HeldAssertion& assertion, std::string_view name) {
    return "   pid " + std::to_string(assertion.pid) + "(" + assertion.who + "): [0x0000000100018001] 00:01:02 " +
           assertion.what + " named: \"" + std::string(name) + "\" ";
}

/// All that is found in any text stands in one line of it, in pmset's order.
void checkText(const std::string& text) {
    const auto lines = splitLines(text);
    auto line = lines.begin();
    for (const auto& found : PMSetAssertionList::parse(text)) {
        require(keepsAwake(found.what) && found.pid > 0, "it is a process that keeps the machine awake");
        const auto end = "(" + found.who + "): [";
        const auto type = " " + found.what + " named: ";
        line = std::find_if(line, lines.end(), [&](std::string_view candidate) {
            const auto nameAt = candidate.find(end);
            return nameAt != std::string_view::npos && candidate.find(type, nameAt) != std::string_view::npos;
        });
        require(line != lines.end(), "what is found stands in a line, in order");
        ++line;
    }
}

/// Whatever stands between them, whole lines are found.
void checkReport(const std::vector<std::string_view>& parts) {
    std::string report = "Listed by owning process:\n";
    std::vector<std::string> expected;
    for (std::size_t index = 0; index + 1 < parts.size(); index += 2) {
        const std::string name(parts[index]);
        if (!isPlainName(name) || name.size() < 2 || !isPlainName(parts[index + 1])) {
            continue;
        }
        const auto pid = static_cast<std::int32_t>(1 + static_cast<unsigned char>(name[0]) * 8388607);
        const std::string type = types.at(static_cast<unsigned char>(name[1]) % types.size());
        const HeldAssertion assertion{.who = name, .what = type, .pid = pid};
        report += lineOf(assertion, parts[index + 1]) + "\n";
        report += std::string("\tDetails: ") + std::string(parts[index + 1]) + "\n";
        if (keepsAwake(type)) {
            expected.push_back(std::to_string(pid) + " " + name + " " + type);
        }
    }
    std::vector<std::string> found;
    for (const auto& assertion : PMSetAssertionList::parse(report)) {
        found.push_back(std::to_string(assertion.pid) + " " + assertion.who + " " + assertion.what);
    }
    require(found == expected, "what was listed is found");
    checkText(report);
}

} // namespace
} // namespace tavo

/// Assertions are found where pmset lists them, and nowhere else. The input is a report, and pairs of names to make one
/// of: a process's and its assertion's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // As the runner gives it.
    const auto text = tavo::repairUTF8({reinterpret_cast<const char*>(data), size});
    tavo::checkText(text);
    tavo::checkReport(tavo::pieces(text));
    return 0;
}
