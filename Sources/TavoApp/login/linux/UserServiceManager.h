#pragma once

#include "login/HeadlessLaunchManaging.h"
#include "system/CommandRunning.h"

#include <sys/types.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavo {

/// Where the unit of the user service lies.
struct UserServiceLayout {
    /// The folder of the user's own units, systemd.unit(5), "User Unit Search Path", where no service manager says which
    /// one it is; absent for the one that the environment names, which is looked up when it is needed.
    std::optional<std::filesystem::path> ownUnits;

    /// The unit that comes with a package, and the program that it names.
    std::filesystem::path packagedUnit = "/usr/lib/systemd/user/tavo.service";
    std::filesystem::path packagedProgram = "/usr/bin/tavoctl";

    /// Whose service it is.
    uid_t user = geteuid();

    /// @throws CocoaPathsError when the system knows no home.
    std::filesystem::path userUnits() const;
};

/// The run without a desktop as a service of the user's systemd, systemctl(1).
///
/// Where tavoctl comes with a package, the unit does too. Otherwise a unit that names this tavoctl is written among the
/// user's own, with a mark in its first line: a unit without that mark is somebody else's, and stays as it is.
///
/// The manager started at the login, before any shell read its own files: it may look for units in another folder than
/// this process's environment names, and its services may read their configuration from another one. So it is asked.
class UserServiceManager final : public HeadlessLaunchManaging {
public:
    UserServiceManager(UserServiceLayout layout, std::shared_ptr<CommandRunning> runner)
        : layout(std::move(layout)), runner(std::move(runner)) {}

    std::string jobName() const override { return unitName; }
    std::string log() const override { return std::string("journalctl --user --unit ") + unitName; }

    /// @throws HeadlessLaunchError when this user has no service manager, or the unit is not Tavo's own; nothing has
    ///         changed then.
    [[nodiscard]] Start enable(const std::filesystem::path& tavoctl) override;

    bool disable() override;

    /// By the manager's word; where none answers, by the link that enabling makes.
    bool isEnabled() const override;

    /// By the environment that the manager gives to services; root's run obeys none.
    std::optional<TavoPaths> pathsOfRun() const override;

    /// About lingering, loginctl(1).
    std::optional<std::string> logoutAdvice() const override;

    /// The unit's text for a program.
    static std::string unitText(const std::filesystem::path& tavoctl);

    /// The value of a variable in what systemctl show-environment prints; absent when it is not set, or has control
    /// characters.
    static std::optional<std::string> valueIn(std::string_view environment, std::string_view name);

private:
    static constexpr const char* unitName = "tavo.service";

    bool isPackaged(const std::filesystem::path& tavoctl) const;
    std::filesystem::path reachedUnits() const;
    std::optional<std::filesystem::path> unitsIfReached() const;
    bool isEnabledByManager() const;
    bool isEnabledByEnvironment() const;
    bool isRunning() const;
    ShellCommandResult systemctl(const std::vector<std::string>& arguments) const;
    void change(const std::vector<std::string>& arguments) const;

    UserServiceLayout layout;
    std::shared_ptr<CommandRunning> runner;
};

} // namespace tavo
