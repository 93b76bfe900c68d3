#include "helper/linux/DeferredRemoval.h"

#include <fmt/format.h>

namespace tavo {

ShellCommand deferredRemoval(const std::string& script) {
    // Bounded as a whole: the helper serves nobody else meanwhile.
    return {.executableURL = "/usr/bin/timeout",
            .arguments = {"4", "/bin/sh", "-c",
                          fmt::format("systemctl is-active --quiet {} || exec systemd-run \"$@\"", removalUnitName),
                          "sh", "--quiet", "--collect", "--no-block", fmt::format("--unit={}", removalUnitName),
                          fmt::format("--property=RuntimeMaxSec={}", maxRemoval.count()), "--property=TimeoutStopSec=5",
                          "--description=Removes the helper of Tavo", "--", "/bin/sh", "-c", script}};
}

} // namespace tavo
