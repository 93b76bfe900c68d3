#pragma once

#include "CommandLine.h"
#include "ExitStatus.h"
#include "app/Platform.h"
#include "config/TavoStore.h"

#include <chrono>
#include <functional>

namespace tavo {

/// Tells about the privileged helper, installs and removes it.
class HelperCommand {
public:
    using Pause = std::function<void(std::chrono::microseconds)>;

    /// @param pause  waits between two looks at the helper; the calling thread does by default.
    HelperCommand(const Platform& platform, const TavoStoring& store, Pause pause = {});

    /// @throws PrivilegedHelperInstallerError, PrivilegedHelperClientError and the errors of running commands.
    ExitStatus carryOut(const HelperCommandOptions& options) const;

private:
    ExitStatus printStatus(bool json) const;
    ExitStatus install() const;
    ExitStatus uninstall() const;
    ExitStatus reset() const;

    bool isInstalled() const;
    bool matchesThisBuild() const;
    bool waitUntilFilesAreGone() const;
    void recordPermission(bool granted) const;

    const Platform& platform;
    const TavoStoring& store;
    Pause pause;
};

} // namespace tavo
