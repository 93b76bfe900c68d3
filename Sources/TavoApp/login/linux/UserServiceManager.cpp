#include "login/linux/UserServiceManager.h"

#include "RunServiceUnit.h"
#include "base/AtomicFile.h"
#include "config/TavoPaths.h"
#include "system/DecimalText.h"
#include "system/linux/UnitText.h"

#include <fmt/format.h>

#include <algorithm>
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

bool isOwn(const std::filesystem::path& unit) {
    return std::filesystem::is_regular_file(std::filesystem::symlink_status(unit)) &&
           readWholeFile(unit, maxUnitSize).starts_with(mark);
}

void refuseForeign(const std::filesystem::path& unit) {
    if (isThere(unit) && !isOwn(unit)) {
        throw HeadlessLaunchError(
            fmt::format("{} was not written by tavoctl, so it is left alone; move it away to have "
                        "tavo.service managed for you, or use systemctl --user yourself.",
                        unit.string()));
    }
}

/// The folder of the user's own units in a manager's search path. The path begins with the folder of the changes that
/// systemctl makes to these, and a folder's name may hold the blank that stands between two.
std::optional<std::filesystem::path> ownUnitsIn(std::string_view searchPath) {
    constexpr std::string_view units = "/systemd/user";
    const auto end = searchPath.find("/systemd/user.control");
    if (end == std::string_view::npos || searchPath.front() != '/') {
        return std::nullopt;
    }
    return std::filesystem::path(searchPath.substr(0, end + units.size()));
}

/// The folders of a run by the environment that it gets.
class DirectoriesOfRun final : public UserDirectoriesProviding {
public:
    explicit DirectoriesOfRun(std::string_view environment)
        : configHome(UserServiceManager::valueIn(environment, "XDG_CONFIG_HOME").value_or("")),
          home(UserServiceManager::valueIn(environment, "HOME").value_or("")) {}

    std::vector<std::filesystem::path> applicationSupportDirectories() const override {
        if (configHome.is_absolute()) {
            return {configHome};
        }
        return home.is_absolute() ? std::vector{home / ".config"} : std::vector<std::filesystem::path>();
    }
    std::filesystem::path homeDirectory() const override { return home; }

private:
    std::filesystem::path configHome;
    std::filesystem::path home;
};

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
    const auto units = reachedUnits();
    const auto unit = units / unitName;
    refuseForeign(unit);
    if (isPackaged(tavoctl)) {
        // One that a build folder left behind would hide the package's.
        std::filesystem::remove(unit);
    } else {
        ensureDirectoryExists(units);
        replaceFileAtomically(unit, unitText(tavoctl), 0644);
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
    const auto units = unitsIfReached();
    if (!units && !isEnabledByEnvironment() && !isThere(layout.userUnits() / unitName)) {
        return false;
    }
    const auto unit = (units ? *units : reachedUnits()) / unitName;
    if (!isEnabledByManager() && !isThere(unit) && !isRunning()) {
        return false;
    }
    refuseForeign(unit);
    change({"disable", "--now", unitName});
    std::filesystem::remove(unit);
    change({"daemon-reload"});
    return true;
}

bool UserServiceManager::isEnabled() const {
    return unitsIfReached() ? isEnabledByManager() : isEnabledByEnvironment();
}

bool UserServiceManager::isEnabledByManager() const {
    return systemctl({"is-enabled", unitName}).exitCode == 0;
}

bool UserServiceManager::isEnabledByEnvironment() const {
    return isThere(layout.userUnits() / "default.target.wants" / unitName);
}

/// Also between two attempts to start it.
bool UserServiceManager::isRunning() const {
    const auto state = systemctl({"show", "--property=ActiveState", "--value", unitName}).standardOutput;
    return !state.empty() && state != "inactive" && state != "failed";
}

std::optional<TavoPaths> UserServiceManager::pathsOfRun() const {
    if (layout.user == 0 || !unitsIfReached()) {
        return std::nullopt;
    }
    const DirectoriesOfRun directories(systemctl({"show-environment"}).standardOutput);
    if (directories.applicationSupportDirectories().empty()) {
        return std::nullopt;
    }
    const auto paths = TavoPaths::defaultPaths(directories);
    const auto own = TavoPaths::defaultPaths(SystemUserDirectories(layout.user));
    std::error_code ignored; // of a folder that is not there yet
    if (paths == own || std::filesystem::equivalent(paths.rootDirectory, own.rootDirectory, ignored)) {
        return std::nullopt;
    }
    return paths;
}

std::optional<std::string> UserServiceManager::valueIn(std::string_view environment, std::string_view name) {
    const auto assignment = std::string(name) + "=";
    while (!environment.empty() && !environment.starts_with(assignment)) {
        environment.remove_prefix(std::min(environment.find('\n'), environment.size() - 1) + 1);
    }
    if (environment.empty()) {
        return std::nullopt;
    }
    environment.remove_prefix(assignment.size());
    const auto written = environment.substr(0, environment.find('\n'));
    if (!written.starts_with("$'") || !written.ends_with("'")) {
        return std::string(written);
    }
    const auto quoted = written.substr(2, written.size() - 3);
    std::string value;
    for (std::size_t index = 0; index < quoted.size(); ++index) {
        if (quoted[index] == '\\' && ++index < quoted.size() && quoted[index] != '\\' && quoted[index] != '\'') {
            return std::nullopt;
        }
        value += quoted[index];
    }
    return value;
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

/// The folder of the user's own units as the manager knows it. Asked before anything changes: over su and sudo, and in
/// many containers, a user has no service manager.
std::filesystem::path UserServiceManager::reachedUnits() const {
    std::string reason;
    try {
        const auto searchPath = systemctl({"show", "--property=UnitPath", "--value"});
        if (searchPath.exitCode == 0) {
            const auto units = ownUnitsIn(searchPath.standardOutput);
            return units ? *units : layout.userUnits();
        }
        reason = searchPath.standardError;
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

/// Absent when no manager answers.
std::optional<std::filesystem::path> UserServiceManager::unitsIfReached() const {
    try {
        return reachedUnits();
    } catch (const HeadlessLaunchError&) {
        return std::nullopt;
    } catch (const std::system_error&) {
        return std::nullopt;
    }
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
