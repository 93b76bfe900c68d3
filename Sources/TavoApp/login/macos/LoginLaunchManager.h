#pragma once

#include "config/TavoPaths.h"
#include "login/LaunchAtLoginManaging.h"
#include "login/macos/LaunchAgent.h"
#include "system/CommandRunning.h"
#include "system/LaunchdJob.h"
#include "system/macos/PropertyList.h"

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace tavo {

/// The app's job, as launchd gets it.
struct LaunchAgentDefinition {
    static constexpr std::string_view label = "com.vrd.tavo";

    std::string executablePath;

    bool operator==(const LaunchAgentDefinition&) const = default;

    /// Keys of launchd.plist(5). Quitting the app is final until the next login.
    PropertyListValue propertyList() const;
};

/// Launch at login by a launchd agent in the user's GUI domain, launchctl(1).
///
/// The agent's file is the state: launchd is not asked what it has loaded.
class LoginLaunchManager final : public LaunchAtLoginManaging {
public:
    /// @param sleeper  sleeps between polls while an earlier copy is being unloaded.
    LoginLaunchManager(std::filesystem::path launchAgent, std::shared_ptr<CommandRunning> runner,
                       Sleeper sleeper = threadSleeper())
        : agent(std::string(LaunchAgentDefinition::label), std::move(launchAgent), std::move(runner),
                std::move(sleeper)) {}

    /// With the user's own agent file.
    explicit LoginLaunchManager(std::shared_ptr<CommandRunning> runner)
        : LoginLaunchManager(TavoPaths::launchAgentURL(), std::move(runner)) {}

    /// Writes the agent and loads it, which starts the app at once. An earlier copy is unloaded first; when launchd
    /// refuses to load the new one because it has not finished that, the remainder waits for it, 10 seconds at most,
    /// and tries again.
    /// @throws LoginLaunchManagerError when launchd does not load it; the file stays then.
    [[nodiscard]] Remainder enable(const std::filesystem::path& executablePath,
                                   const std::vector<std::string>& options) override;

    /// Unloads the agent, which ends an app that it has started, and removes the file.
    void disable() override;

    bool isEnabled() const override;

private:
    LaunchAgent agent;
};

} // namespace tavo
