#pragma once

#include "base/FileDescriptor.h"

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tavo {

/// A /bin/sh that only prints words back. Whatever the words do to it, it can do no harm: it runs as nobody where it can
/// be, in a folder that is gone, with an empty environment, and has no further processes, files and sockets.
class PrintingShell {
public:
    /// @throws std::system_error
    PrintingShell();
    PrintingShell(const PrintingShell&) = delete;
    PrintingShell& operator=(const PrintingShell&) = delete;
    ~PrintingShell();

    /// The words that the shell makes of `line`. Ends this program when the shell ends, or prints fewer than `count`
    /// within the bound.
    std::vector<std::string> print(const std::string& line, std::size_t count);

private:
    void send(const std::string& text);

    pid_t process = 0;
    FileDescriptor input;
    FileDescriptor output;
};

} // namespace tavo
