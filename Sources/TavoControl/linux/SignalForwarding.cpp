#include "TavoControl/SignalForwarding.h"

namespace tavo {

// sigaction(2): codes of the kernel's own are positive; kill(2), sigqueue(3) and tgkill(2) are not.
bool isSentByProcess(const siginfo_t& information) {
    return information.si_code <= 0;
}

} // namespace tavo
