#include "TavoPrivilegedHelper/HelperLog.h"
#include "TavoPrivilegedHelper/HelperMain.h"
#include "TavoPrivilegedHelper/linux/HelperProgram.h"

#include <systemd/sd-daemon.h>

#include <cstdlib>
#include <string_view>

namespace {

/// Whether the service was stopped on purpose: systemd.exec(5), "$SERVICE_RESULT". One that would not stop in time was.
bool wasStopped() {
    const char* const result = std::getenv("SERVICE_RESULT");
    const std::string_view text = result == nullptr ? "" : result;
    return text == "success" || text == "timeout";
}

} // namespace

int main(int count, char** values) {
    using tavo::HelperOptions;
    using tavo::HelperProgram;
    return tavo::runHelper(
        {values + 1, static_cast<std::size_t>(count > 0 ? count - 1 : 0)},
        [](const HelperOptions& options) {
            HelperProgram(options.user, tavo::logHelper).serve([] { sd_notify(0, "READY=1"); });
        },
        [](const HelperOptions& options) { HelperProgram(options.user, tavo::logHelper).cleanUp(wasStopped()); });
}
