#include "SystemChecks.h"

#include "TavoInhibit/OwnLocksQuestion.h"
#include "TavoInhibit/UserDesktop.h"
#include "linux/DesktopCheck.h"
#include "system/linux/LogindClient.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <systemd/sd-login.h>
#include <unistd.h>

#include <cstdlib>

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
        const auto lock = logind.takeLock(what, "trying out whether it can be held");
        return {.subject = subject, .finding = "may be held"};
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

SystemCheck checkSession() {
    if (geteuid() == 0) {
        return {.subject = "session", .finding = "root needs none"};
    }
    char* session = nullptr;
    if (sd_pid_get_session(0, &session) < 0) {
        return {.subject = "session",
                .verdict = CheckVerdict::limited,
                .finding = "this process belongs to no login session",
                .advice =
                    "another session, or the login screen, may still suspend; run sudo tavoctl run to prevent that."};
    }
    const std::string name(session);
    std::free(session); // NOLINT(cppcoreguidelines-no-malloc): sd-login gives it from malloc
    if (sd_session_is_remote(name.c_str()) > 0) {
        return {.subject = "session",
                .verdict = CheckVerdict::limited,
                .finding = "this is a remote session",
                .advice =
                    "its lock does not stop another session, or the login screen, from suspending; run sudo tavoctl "
                    "run to prevent that."};
    }
    const bool isActive = sd_session_is_active(name.c_str()) > 0;
    return {.subject = "session", .finding = isActive ? "local and active" : "local, not active now"};
}

} // namespace

std::vector<SystemCheck> checkMeansToStayAwake(const Platform& platform) {
    std::vector<SystemCheck> checks{checkInhibitor(platform.wakePlanBuilder.assertionExecutable)};
    bool areOwnLocksHeeded = false;
    try {
        const LogindClient logind;
        if (!logind.isRunning()) {
            checks.push_back(unavailable("systemd-logind is not running"));
            return checks;
        }
        checks.push_back({.subject = "logind", .finding = "is running"});
        checks.push_back(checkLock(logind, "idle", CheckVerdict::unavailable,
                                   "without this lock nothing can be kept awake; run sudo tavoctl run."));
        checks.push_back(
            checkLock(logind, "sleep", CheckVerdict::limited,
                      "the computer may still be put to sleep by others; run sudo tavoctl run to hold it too."));
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
    checks.push_back(checkSession());
    checks.push_back(checkDesktop(platform, !areOwnLocksHeeded && isOrdinaryUserOfDesktop()));
    return checks;
}

} // namespace tavo
