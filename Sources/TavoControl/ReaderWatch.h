#pragma once

#include "base/FileDescriptor.h"

#include <functional>
#include <thread>

namespace tavo {

/// Notices when nobody reads a pipe any more. A program that writes a line an hour would otherwise go on for an hour.
class ReaderWatch {
public:
    /// Does nothing for a descriptor that is no pipe: a terminal that goes tells so by a signal.
    /// @param descriptor  stays the caller's, and open for as long as this lives.
    /// @param onGone      called once, on a thread of its own. @throws std::system_error.
    ReaderWatch(int descriptor, std::function<void()> onGone);
    ReaderWatch(const ReaderWatch&) = delete;
    ReaderWatch& operator=(const ReaderWatch&) = delete;

    /// Returns when no call is under way any more.
    ~ReaderWatch();

private:
    FileDescriptor ending; ///< closed to end the thread
    std::thread thread;
};

} // namespace tavo
