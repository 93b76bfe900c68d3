#pragma once

#include "base/DescribedError.h"
#include "base/FileDescriptor.h"

#include <chrono>

namespace tavo {

/// Work that waited for something was called off.
class Interrupted final : public DescribedError {
public:
    Interrupted() : DescribedError("this was called off before it was done.") {}
};

/// Calls off work that may wait for long, as for an administrator's password, because the program is quitting. For good:
/// whoever waits afterwards is interrupted at once. Every member may be called from any thread.
class Interruption {
public:
    /// @throws std::system_error when no pipe can be made.
    Interruption();

    void interrupt() noexcept;
    bool isInterrupted() const noexcept;

    /// Readable once interrupted, for poll(2). Nobody reads from it.
    int descriptor() const { return reading.get(); }

    /// Waits that long. @throws Interrupted
    void sleep(std::chrono::microseconds time) const;

private:
    FileDescriptor reading;
    FileDescriptor writing;
};

} // namespace tavo
