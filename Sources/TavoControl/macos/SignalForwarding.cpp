#include "TavoControl/SignalForwarding.h"

namespace tavo {

// The code is SI_USER for a terminal's keys as well, but only a process has a number.
bool isSentByProcess(const siginfo_t& information) {
    return information.si_pid > 0;
}

} // namespace tavo
