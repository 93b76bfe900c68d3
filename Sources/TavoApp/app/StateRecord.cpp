#include "app/StateRecord.h"

#include "base/ErrorText.h"

#include <fmt/format.h>

namespace tavo {

void StateRecord::saveRuntimeSnapshot(const RuntimeSnapshot& snapshot) const {
    try {
        store->saveRuntimeSnapshot(snapshot);
        saveProblem.reset();
    } catch (const std::exception& error) {
        saveProblem =
            fmt::format("{}. tavo goes on all the same, but its status is out of date elsewhere.", errorClause(error));
        if (failures == Failures::stopTheCaller) {
            throw;
        }
    }
}

void StateRecord::note(const RuntimeSnapshot& snapshot) const noexcept {
    try {
        saveRuntimeSnapshot(snapshot);
    } catch (const std::exception&) {
        // It is only the record of what is shown already.
    }
}

} // namespace tavo
