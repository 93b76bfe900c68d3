#include "TavoControl/SystemChecks.h"

#include <unistd.h>

namespace tavo {

std::vector<SystemCheck> checkMeansToStayAwake(const Platform& platform) {
    const auto& tool = platform.wakePlanBuilder.assertionExecutable;
    if (access(tool.c_str(), X_OK) == 0) {
        return {{.subject = "caffeinate", .finding = tool.string() + " is there"}};
    }
    return {{.subject = "caffeinate",
             .verdict = CheckVerdict::unavailable,
             .finding = tool.string() + " cannot be run",
             .advice = "it is a part of macOS; repair or update the system."}};
}

} // namespace tavo
