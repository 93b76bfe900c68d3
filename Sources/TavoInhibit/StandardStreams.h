#pragma once

#include "TavoInhibit/BusHandles.h"

#include <functional>

namespace tavo {

/// Fills the standard descriptors that the parent left closed with /dev/null, so that no socket becomes one of them.
/// To be called before anything is opened.
void occupyStandardDescriptors();

/// Waits for the end of standard input. Its content is thrown away.
class EndOfInput {
public:
    /// @param ended  is called once, from the event loop, at the end of input; not when the end was there from the
    ///        start.
    /// @throws std::system_error
    EndOfInput(sd_event& event, int input, std::function<void()> ended);

    /// Input that cannot be waited for (a file, /dev/null) counts as ended from the start: nobody can keep it open to
    /// hold us.
    bool hasEnded() const { return reached; }

private:
    static int onReadable(sd_event_source* source, int descriptor, unsigned events, void* self) noexcept;

    std::function<void()> ended;
    bool reached = false;
    EventSource source;
};

} // namespace tavo
