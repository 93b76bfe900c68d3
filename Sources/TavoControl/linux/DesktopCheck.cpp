#include "TavoControl/linux/DesktopCheck.h"

#include "base/ErrorText.h"
#include "system/linux/BusConnection.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace tavo {

namespace {

constexpr const char* switchOff =
    "the desktop may suspend the computer by itself: switch off automatic suspend in its power settings.";

/// The desktop's services that run; throws BusError without a session bus.
std::vector<std::string> servicesPresent() {
    constexpr std::array<std::pair<const char*, const char*>, 3> services{
        {{"org.gnome.SessionManager", "gnome session manager"},
         {"org.freedesktop.PowerManagement", "power management"},
         {"org.freedesktop.portal.Desktop", "desktop portal"}}};
    const auto bus = BusConnection::openSession();
    std::vector<std::string> present;
    for (const auto& [name, words] : services) {
        if (bus.hasOwner(name)) {
            present.emplace_back(words);
        }
    }
    return present;
}

SystemCheck limited(const std::string& finding) {
    return {.subject = "desktop", .verdict = CheckVerdict::limited, .finding = finding, .advice = switchOff};
}

bool isOfDesktop(const AssertionReport& report, AssertionReportState state) {
    return report.isFromDesktopService() && report.state == state;
}

/// The first report in this state, or null.
const AssertionReport* find(const std::vector<AssertionReport>& reports, AssertionReportState state) {
    const auto found = std::find_if(reports.begin(), reports.end(),
                                    [state](const auto& report) { return isOfDesktop(report, state); });
    return found == reports.end() ? nullptr : &*found;
}

struct WaitForChange {
    std::mutex mutex;
    std::condition_variable changed;
};

/// The services' answers to the assertion's child that come within the bound.
std::vector<AssertionReport> tryOut(const Platform& platform, std::chrono::milliseconds bound) {
    // A change may still be on its way here when the wait is over.
    const auto wait = std::make_shared<WaitForChange>();
    platform.assertionStatus->onChange([wait] {
        // With the lock, no change is missed between the check and the wait.
        const std::lock_guard lock(wait->mutex);
        wait->changed.notify_all();
    });
    const auto child = platform.assertionRunner->start(
        {.executableURL = platform.wakePlanBuilder.assertionExecutable, .arguments = {"-i"}});
    std::vector<AssertionReport> reports;
    {
        std::unique_lock lock(wait->mutex);
        wait->changed.wait_for(lock, bound, [&] {
            reports = platform.assertionStatus->reports();
            return find(reports, AssertionReportState::held) != nullptr;
        });
    }
    platform.assertionStatus->onChange({});
    child->stop();
    return reports;
}

SystemCheck judge(const std::vector<std::string>& present, const std::vector<AssertionReport>& reports) {
    if (find(reports, AssertionReportState::held) != nullptr) {
        return {.subject = "desktop",
                .finding = fmt::format("accepts the request to stay awake ({})", fmt::join(present, ", "))};
    }
    if (const auto* refused = find(reports, AssertionReportState::refused)) {
        return limited(refused->notice);
    }
    return limited(fmt::format("{} did not answer in time", fmt::join(present, ", ")));
}

} // namespace

SystemCheck checkDesktop(const Platform& platform, bool isNeeded, std::chrono::milliseconds bound) {
    std::vector<std::string> present;
    std::string nobody = "no service that suspends on its own is running";
    try {
        present = servicesPresent();
    } catch (const BusError&) {
        nobody = "no desktop session, so only logind has to be told";
    }
    if (present.empty()) {
        return isNeeded ? limited("no service of this desktop can be told to stay awake")
                        : SystemCheck{.subject = "desktop", .finding = nobody};
    }
    try {
        return judge(present, tryOut(platform, bound));
    } catch (const std::exception& error) {
        return limited("could not be asked: " + errorText(error));
    }
}

} // namespace tavo
