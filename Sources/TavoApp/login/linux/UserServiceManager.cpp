#include "login/linux/UserServiceManager.h"

#include "RunServiceUnit.h"
#include "base/AtomicFile.h"
#include "config/TavoPaths.h"
#include "system/DecimalText.h"
#include "system/linux/UnitText.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>
#include <system_error>

namespace tavo {

namespace {

constexpr std::string_view mark =
    "# Written by tavoctl login on --headless; tavoctl login off --headless removes it.\n";
constexpr std::string_view packagedCommand = "ExecStart=/usr/bin/tavoctl ";
constexpr std::size_t maxUnitSize = 65536;

bool isThere(const std::filesystem::path& path) {
    std::error_code ignored; // a path that cannot be examined is of no use to the service manager either
    return std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
}

} // namespace

std::filesystem::path UserServiceLayout::userUnits() const {
    if (ownUnits) {
        return *ownUnits;
    }
    const auto folders = SystemUserDirectories().applicationSupportDirectories();
    if (folders.empty()) {
        throw CocoaPathsError::missingApplicationSupportDirectory();
    }
    return folders.front() / "systemd" / "user";
}

std::string UserServiceManager::unitText(const std::filesystem::path& tavoctl) {
    auto text = std::string(mark) + std::string(runServiceUnit);
    const auto start = text.find(packagedCommand);
    text.replace(start, packagedCommand.size(), "ExecStart=" + unitWord(tavoctl) + " ");
    return text;
}

HeadlessLaunchManaging::Start UserServiceManager::enable(const std::filesystem::path& tavoctl) {
    requireManager();
    refuseForeignUnit();
    if (isPackaged(tavoctl)) {
        // One that a build folder left behind would hide the package's.
        std::filesystem::remove(layout.userUnit());
    } else {
        ensureDirectoryExists(layout.userUnits());
        replaceFileAtomically(layout.userUnit(), unitText(tavoctl), 0644);
    }
    change({"daemon-reload"});
    // Links of an earlier unit, in another place, would be in the way of enabling.
    change({"reenable", unitName});
    if (systemctl({"restart", unitName}).exitCode == 0) {
        return {};
    }
    const auto status = systemctl({"show", "--property=ExecMainStatus", "--value", unitName});
    return {.failedWith = static_cast<int>(parseInt32(status.standardOutput).value_or(EXIT_FAILURE))};
}

bool UserServiceManager::disable() {
    if (!isEnabled() && !isThere(layout.userUnit())) {
        return false;
    }
    requireManager();
    refuseForeignUnit();
    change({"disable", "--now", unitName});
    std::filesystem::remove(layout.userUnit());
    change({"daemon-reload"});
    return true;
}

bool UserServiceManager::isEnabled() const {
    return isThere(layout.userUnits() / "default.target.wants" / unitName);
}

std::optional<std::string> UserServiceManager::logoutAdvice() const {
    try {
        const auto lingers =
            runner->run({.executableURL = "/usr/bin/loginctl",
                         .arguments = {"show-user", std::to_string(getuid()), "--property=Linger", "--value"}});
        if (lingers.standardOutput != "no") {
            return std::nullopt;
        }
    } catch (const std::system_error&) {
        // Without loginctl there is no advice that names it.
        return std::nullopt;
    }
    return "it ends when you have logged out everywhere, and starts again when you log in; loginctl enable-linger "
           "keeps it running without you, from the computer's start on.";
}

bool UserServiceManager::isPackaged(const std::filesystem::path& tavoctl) const {
    std::error_code ignored;
    return std::filesystem::exists(layout.packagedUnit, ignored) &&
           std::filesystem::equivalent(tavoctl, layout.packagedProgram, ignored);
}

bool UserServiceManager::hasOwnUnit() const {
    return std::filesystem::is_regular_file(std::filesystem::symlink_status(layout.userUnit())) &&
           readWholeFile(layout.userUnit(), maxUnitSize).starts_with(mark);
}

void UserServiceManager::refuseForeignUnit() const {
    if (isThere(layout.userUnit()) && !hasOwnUnit()) {
        throw HeadlessLaunchError(
            fmt::format("{} was not written by tavoctl, so it is left alone; move it away to have "
                        "tavo.service managed for you, or use systemctl --user yourself.",
                        layout.userUnit().string()));
    }
}

/// Asked before anything changes: over su and sudo, and in many containers, a user has no service manager.
void UserServiceManager::requireManager() const {
    std::string reason;
    try {
        const auto version = systemctl({"show", "--property=Version"});
        if (version.exitCode == 0) {
            return;
        }
        reason = version.standardError;
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::no_such_file_or_directory) {
            throw;
        }
        throw HeadlessLaunchError("this system has no systemd (/usr/bin/systemctl is missing), whose service manager "
                                  "would start tavo; have another one start tavoctl run --service.");
    }
    throw HeadlessLaunchError(fmt::format("your service manager cannot be reached{}{}; a login starts one, by ssh too, "
                                          "but su and sudo do not.",
                                          reason.empty() ? "" : ": ", reason));
}

ShellCommandResult UserServiceManager::systemctl(const std::vector<std::string>& arguments) const {
    std::vector<std::string> all{"--user", "--quiet"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return runner->run({.executableURL = "/usr/bin/systemctl", .arguments = all});
}

void UserServiceManager::change(const std::vector<std::string>& arguments) const {
    const auto result = systemctl(arguments);
    if (result.exitCode != 0) {
        throw HeadlessLaunchError(fmt::format("systemctl --user {} failed{}", arguments.front(),
                                              result.standardError.empty()
                                                  ? fmt::format(" with exit code {}.", result.exitCode)
                                                  : ": " + result.standardError));
    }
}

} // namespace tavo
