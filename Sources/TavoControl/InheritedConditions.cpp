#include "TavoControl/InheritedConditions.h"

#include <fcntl.h>

#include <algorithm>

// POSIX leaves the declaration to the program, environ(7).
extern char** environ; // NOLINT(readability-redundant-declaration): glibc declares it for GNU programs only

namespace tavo {

InheritedConditions InheritedConditions::capture() {
    InheritedConditions conditions;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        conditions.environment.emplace_back(*entry);
    }
    sigprocmask(SIG_SETMASK, nullptr, &conditions.signalMask);
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
            conditions.ignoredSignals.push_back(signal);
        }
    }
    for (std::size_t stream = 0; stream < conditions.isStreamClosed.size(); ++stream) {
        conditions.isStreamClosed[stream] = fcntl(static_cast<int>(stream), F_GETFD) < 0;
    }
    return conditions;
}

bool InheritedConditions::isIgnored(int signal) const {
    return std::find(ignoredSignals.begin(), ignoredSignals.end(), signal) != ignoredSignals.end();
}

} // namespace tavo
