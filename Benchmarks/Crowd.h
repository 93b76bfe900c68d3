#pragma once

#include "base/FileDescriptor.h"

#include <sys/types.h>

#include <vector>

namespace tavo {

/// Processes of this program's own that do nothing, for as long as this lives. They exit when this program is killed.
class Crowd {
public:
    /// @throws std::system_error when so many cannot be started; none is left over then.
    explicit Crowd(int size);
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;
    ~Crowd();

private:
    void disperse();

    FileDescriptor heldOpen; ///< the members wait for the end of what this end would write
    std::vector<pid_t> members;
};

} // namespace tavo
