#pragma once

#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "app/Platform.h"
#include "config/TavoStore.h"

#include <functional>

namespace tavo {

/// Shows and changes config.json, and makes a running Tavo follow.
class SettingsCommand {
public:
    SettingsCommand(const Platform& platform, const TavoStoring& store) : platform(platform), store(store) {}

    /// Prints the file's settings. @throws ConfigurationError, SettingError
    ExitStatus print(const GetOptions& options) const;

    /// Changes the file, tells a running Tavo, waits up to two seconds for its next evaluation, and prints its status.
    /// @throws ConfigurationError and SettingError with the file as it was; std::system_error when it cannot be
    /// written;
    ///         LoginLaunchManagerError.
    ExitStatus change(const ChangeOptions& options) const;

private:
    AppConfig changed(const AppConfig& config, const ChangeOptions& options, bool wasEnabled) const;
    void enableLogin(const AppConfig& before, const AppConfig& after) const;
    void takeBackLogin() const;
    void printChange(const AppConfig& before, const AppConfig& after) const;
    ExitStatus updateRunningTavo(const AppConfig& config) const;
    bool waitForNewState(const std::function<bool()>& isNew) const;

    const Platform& platform;
    const TavoStoring& store;
};

} // namespace tavo
