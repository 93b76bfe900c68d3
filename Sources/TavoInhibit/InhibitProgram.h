#pragma once

#include "TavoInhibit/DesktopInhibition.h"
#include "TavoInhibit/LogindLock.h"
#include "TavoInhibit/OwnLocksQuestion.h"
#include "TavoInhibit/StandardStreams.h"

#include <optional>

namespace tavo {

/// The program's life: first logind's lock, which is reported, then the desktop, until the end of input or a signal.
class InhibitProgram {
public:
    /// The signals that end it must be blocked already (blockEndingSignals()).
    /// @throws std::system_error
    explicit InhibitProgram(bool sleep);

    /// @returns the exit status: 0, or 69 (EX_UNAVAILABLE) when logind's lock could not be held.
    /// @throws std::system_error
    int run();

    /// Blocks the signals that end the program, so that they arrive through its event loop.
    ///
    /// An interrupt or a hang-up that the parent had ignored stays ignored, as under nohup(1).
    static void blockEndingSignals();

private:
    void logindAnswered(const LogindLock::Outcome& outcome);
    void askDesktop();
    void finish(int status);

    EventLoop event;
    Report report;
    bool logindHasAnswered = false;
    std::optional<EndOfInput> input;
    std::optional<LogindLock> lock;
    DesktopInhibition desktop;
    std::optional<SessionBusWatch> sessionBus;
    std::optional<OwnLocksQuestion> ownLocks;
};

} // namespace tavo
