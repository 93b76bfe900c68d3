#include "TavoControl/SystemChecks.h"

#include "TavoControl/linux/DesktopCheck.h"
#include "TavoControl/linux/SessionCheck.h"
#include "TavoInhibit/OwnLocksQuestion.h"
#include "system/linux/LogindClient.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

namespace tavo {

namespace {

SystemCheck checkInhibitor(const std::filesystem::path& program) {
    if (access(program.c_str(), X_OK) == 0) {
        return {.subject = "tavo-inhibit", .finding = program.string() + " is there"};
    }
    return {.subject = "tavo-inhibit",
            .verdict = CheckVerdict::broken,
            .finding = program.string() + " cannot be run",
            .advice = "it belongs beside tavoctl, or in ../libexec/tavo; install tavo again."};
}

SystemCheck unavailable(const std::string& finding) {
    return {.subject = "logind",
            .verdict = CheckVerdict::unavailable,
            .finding = finding,
            .advice = "tavo stays awake through systemd-logind: start it (systemctl start systemd-logind) with its "
                      "message bus, or use a system that has it; in a container there is none."};
}

SystemCheck checkLock(const LogindClient& logind, const std::string& what, CheckVerdict verdictWhenRefused,
                      const std::string& advice) {
    const auto subject = what + " lock";
    try {
        const auto lock = logind.takeLock(what, "testing whether it can be held");
        return {.subject = subject, .finding = "can be held"};
    } catch (const BusError& error) {
        return {.subject = subject, .verdict = verdictWhenRefused, .finding = error.description(), .advice = advice};
    }
}

SystemCheck checkPolkit(const LogindClient& logind) {
    if (logind.isPolkitRunning() || geteuid() == 0) {
        return {.subject = "polkit", .finding = logind.isPolkitRunning() ? "is running" : "not needed by root"};
    }
    return {.subject = "polkit",
            .verdict = CheckVerdict::limited,
            .finding = "is not running",
            .advice = "without it only root may hold locks: run sudo tavoctl run, or install polkitd."};
}

std::vector<SystemCheck> checkVersion(const std::optional<std::string>& version) {
    if (!version) {
        return {};
    }
    if (heedsOwnLocks(*version)) {
        return {{.subject = "systemd", .finding = "version " + *version}};
    }
    return {
        {.subject = "systemd",
         .verdict = CheckVerdict::limited,
         .finding = fmt::format("version {} lets a user's own session suspend in spite of that user's locks", *version),
         .advice = "tavo tells the desktop in its own interface too; see the line \"desktop\"."}};
}

} // namespace

std::vector<SystemCheck> checkMeansToStayAwake(const Platform& platform) {
    std::vector<SystemCheck> checks{checkInhibitor(platform.wakePlanBuilder.assertionExecutable)};
    bool areOwnLocksHeeded = false;
    bool areLocksGranted = false;
    try {
        const LogindClient logind;
        if (!logind.isRunning()) {
            checks.push_back(unavailable("systemd-logind is not running"));
            return checks;
        }
        checks.push_back({.subject = "logind", .finding = "is running"});
        auto idle = checkLock(logind, "idle", CheckVerdict::unavailable,
                              "without this lock nothing can be kept awake; run sudo tavoctl run.");
        auto sleep =
            checkLock(logind, "sleep", CheckVerdict::limited,
                      "the computer may still be put to sleep by others; run sudo tavoctl run to hold it too.");
        areLocksGranted = idle.verdict == CheckVerdict::fine && sleep.verdict == CheckVerdict::fine;
        checks.push_back(std::move(idle));
        checks.push_back(std::move(sleep));
        checks.push_back(checkPolkit(logind));
        const auto version = logind.systemdVersion();
        areOwnLocksHeeded = heedsOwnLocks(version.value_or(""));
        for (auto& check : checkVersion(version)) {
            checks.push_back(std::move(check));
        }
    } catch (const BusError& error) {
        checks.push_back(unavailable(error.description()));
        return checks;
    }
    checks.push_back(checkSession(SessionPlace::ofThisProcess(), areLocksGranted));
    checks.push_back(checkDesktop(platform, !areOwnLocksHeeded && isOrdinaryUserOfDesktop()));
    return checks;
}

} // namespace tavo
