#pragma once

#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "app/Platform.h"
#include "config/TavoStore.h"

#include <functional>

namespace tavo {

/// Shows and changes config.json, and has a running Tavo follow.
class SettingsCommand {
public:
    SettingsCommand(const Platform& platform, const TavoStoring& store) : platform(platform), store(store) {}

    /// Prints what the file holds. @throws ConfigurationError, SettingError
    ExitStatus print(const GetOptions& options) const;

    /// Changes the file, tells a running Tavo, waits two seconds at most until that has looked, and prints what is in force
    /// then. @throws ConfigurationError and SettingError with the file as it was; std::system_error when it cannot be
    ///          written; LoginLaunchManagerError.
    ExitStatus change(const ChangeOptions& options) const;

private:
    AppConfig changed(const AppConfig& config, const ChangeOptions& options, bool wasEnabled) const;
    void printChange(const AppConfig& before, const AppConfig& after) const;
    ExitStatus haveRunningTavoFollow(const AppConfig& config) const;
    bool waitForNewState(const std::function<bool()>& isNew) const;

    const Platform& platform;
    const TavoStoring& store;
};

} // namespace tavo
