#pragma once

#include "config/TavoPaths.h"
#include "login/HeadlessLaunchManaging.h"
#include "login/macos/LaunchAgent.h"
#include "system/macos/PropertyList.h"

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace tavo {

/// The job of a run without a desktop, as launchd gets it.
struct HeadlessAgentDefinition {
    static constexpr std::string_view label = "com.vrd.tavo.run";

    std::string tavoctlPath;
    std::string errorLogPath;

    bool operator==(const HeadlessAgentDefinition&) const = default;

    /// Keys of launchd.plist(5).
    ///
    /// launchd knows success and failure, and not one exit status from another: what another start cannot put right is
    /// tried again as well, every five minutes, and says so each time in the log. To end with 0 instead would hide the
    /// error. One of these failures passes by itself this way: the run takes over when the desktop app has been quit.
    PropertyListValue propertyList() const;
};

/// The run without a desktop by a launchd agent beside the desktop app's own.
class HeadlessLaunchAgent final : public HeadlessLaunchManaging {
public:
    /// @param home  of the user, whose folder "Library" holds the agent's file and its log.
    HeadlessLaunchAgent(const std::filesystem::path& home, std::shared_ptr<CommandRunning> runner,
                        Sleeper sleeper = threadSleeper());

    std::string jobName() const override { return std::string(HeadlessAgentDefinition::label); }
    std::string log() const override { return errorLog.string(); }

    /// launchd does not say how the start went. @throws LoginLaunchManagerError when it does not load the agent.
    [[nodiscard]] Start enable(const std::filesystem::path& tavoctl) override;
    bool disable() override;
    bool isEnabled() const override { return agent.hasFile(); }

    /// Only the home folder decides there.
    std::optional<TavoPaths> pathsOfRun() const override { return std::nullopt; }

    /// Nothing keeps an agent over the logout.
    std::optional<std::string> logoutAdvice() const override { return std::nullopt; }

private:
    std::filesystem::path errorLog;
    LaunchAgent agent;
};

} // namespace tavo
