#pragma once

#include "TavoControl/CommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "app/Platform.h"
#include "config/TavoStore.h"
#include "helper/ClosedLidSupport.h"

namespace tavo {

/// Tells about the privileged helper, installs and removes it.
class HelperCommand {
public:
    HelperCommand(const Platform& platform, const TavoStoring& store);

    /// @throws PrivilegedHelperInstallerError, PrivilegedHelperClientError and the errors of running commands.
    ExitStatus carryOut(const HelperCommandOptions& options) const;

private:
    ExitStatus printStatus(bool json) const;
    ExitStatus install() const;
    ExitStatus uninstall() const;
    ExitStatus reset() const;

    void recordPermission(bool granted) const;

    const Platform& platform;
    const TavoStoring& store;
    ClosedLidSupport support;
};

} // namespace tavo
