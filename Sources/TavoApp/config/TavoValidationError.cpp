#include "config/TavoValidationError.h"

#include <fmt/format.h>

namespace tavo {

TavoValidationError TavoValidationError::invalidBatteryCutoffPercent(std::int64_t received) {
    return {Kind::invalidBatteryCutoffPercent,
            fmt::format("battery cutoff percent must be between 1 and 100. received {}.", received), received};
}

TavoValidationError TavoValidationError::invalidPollIntervalSeconds(std::int64_t received) {
    return {Kind::invalidPollIntervalSeconds,
            fmt::format("poll interval must be between 5 and 3600 seconds. received {}.", received), received};
}

TavoValidationError TavoValidationError::emptyTriggerQuery() {
    return {Kind::emptyTriggerQuery, "trigger query must not be empty."};
}

} // namespace tavo
