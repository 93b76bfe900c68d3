#include "helper/PrivilegedHelperSelfResetter.h"

#include "helper/PrivilegedHelperInstaller.h"

namespace tavo {

void PrivilegedHelperSelfResetter::requestReset() const {
    const auto result = runner->run(setup->deferredUninstallCommand(uninstallDelaySeconds));
    if (result.exitCode != 0) {
        throw PrivilegedHelperInstallerError::uninstallFailed(
            result.standardError.empty() ? "failed to reset the privileged helper." : result.standardError);
    }
}

} // namespace tavo
