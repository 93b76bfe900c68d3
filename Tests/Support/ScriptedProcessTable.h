#pragma once

#include "system/ProcessSnapshot.h"

#include <exception>
#include <vector>

namespace tavo {

/// A process table that changes when the test changes it.
class ScriptedProcessTable final : public ProcessSnapshotProviding {
public:
    ProcessSnapshot snapshot(TimePoint at) override {
        ++timesRead;
        if (failure) {
            std::rethrow_exception(failure);
        }
        return {.capturedAt = at, .processes = processes};
    }

    std::vector<ProcessSample> processes;
    int timesRead = 0;

    /// Thrown by every reading while it is set.
    std::exception_ptr failure;
};

} // namespace tavo
