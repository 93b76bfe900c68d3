#pragma once

#include "system/HeldAssertionsProviding.h"

#include <exception>
#include <vector>

namespace tavo {

/// A system that lists what the test says.
class ScriptedHeldAssertions final : public HeldAssertionsProviding {
public:
    bool usesPlanWords() const override { return areInPlanWords; }
    std::vector<HeldAssertion> heldAssertions() override {
        if (failure) {
            std::rethrow_exception(failure);
        }
        return held;
    }

    std::vector<HeldAssertion> held;
    bool areInPlanWords = true;

    /// Thrown by every call while it is set.
    std::exception_ptr failure;
};

} // namespace tavo
