#pragma once

#include "login/LaunchAtLoginManaging.h"
#include "system/CommandRunning.h"
#include "system/LaunchdJob.h"
#include "system/macos/PropertyList.h"

#include <filesystem>
#include <memory>
#include <string>

namespace tavo {

/// An agent in the user's GUI domain, launchctl(1): a property list in a file, and the job that launchd makes of it.
class LaunchAgent {
public:
    /// @param label  of the job.
    /// @param sleeper  sleeps between polls while an earlier copy is being unloaded.
    LaunchAgent(std::string label, std::filesystem::path file, std::shared_ptr<CommandRunning> runner, Sleeper sleeper)
        : label(std::move(label)), file(std::move(file)), runner(std::move(runner)), sleeper(std::move(sleeper)) {}

    /// Writes the file and loads it, after unloading an earlier copy. When launchd refuses to load the new one because
    /// it has not finished that, the remainder waits for it, 10 seconds at most, and tries again.
    /// @throws LoginLaunchManagerError when launchd does not load it; the file stays then.
    [[nodiscard]] LaunchAtLoginManaging::Remainder load(const PropertyListValue& definition) const;

    /// Unloads the agent, which ends its process, and removes the file.
    void unload() const;

    /// Whether the file is there: launchd is not asked what it has loaded.
    bool hasFile() const;

private:
    void bootoutIgnoringFailure() const noexcept;
    ShellCommand launchctl(const std::string& action) const;

    std::string label;
    std::filesystem::path file;
    std::shared_ptr<CommandRunning> runner;
    Sleeper sleeper;
};

} // namespace tavo
