#include "TavoPrivilegedHelper/HelperLog.h"
#include "TavoPrivilegedHelper/HelperMain.h"
#include "TavoPrivilegedHelper/linux/HelperGrant.h"
#include "TavoPrivilegedHelper/linux/HelperProgram.h"
#include "system/ProgramLocation.h"
#include "system/SystemCommandRunner.h"

#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace {

/// Whether the service was stopped on purpose: systemd.exec(5), "$SERVICE_RESULT". One that would not stop in time was.
bool wasStopped() {
    const char* const result = std::getenv("SERVICE_RESULT");
    const std::string_view text = result == nullptr ? "" : result;
    return text == "success" || text == "timeout";
}

tavo::HelperGrant grantsOfRoot(const char* command) {
    if (geteuid() != 0) {
        throw tavo::HelperGrantError(std::string("this takes root; ask with tavoctl helper ") + command + ".");
    }
    return tavo::HelperGrant(std::make_shared<tavo::SystemCommandRunner>());
}

} // namespace

int main(int count, char** values) {
    using tavo::HelperOptions;
    using tavo::HelperProgram;
    return tavo::runHelper(
        {values + 1, static_cast<std::size_t>(count > 0 ? count - 1 : 0)},
        [](const HelperOptions& options) {
            HelperProgram(options, tavo::logHelper).serve([] { sd_notify(0, "READY=1"); });
        },
        [](const HelperOptions& options) { HelperProgram(options, tavo::logHelper).cleanUp(wasStopped()); },
        {.grant =
             [calledAs = values[0]] {
                 const auto user = tavo::HelperGrant::userToServe(std::getenv("PKEXEC_UID"), std::getenv("SUDO_UID"));
                 grantsOfRoot("install").grant(user, tavo::runningProgram(calledAs));
             },
         .revoke = [] { grantsOfRoot("uninstall").revoke(); }});
}
