#pragma once

#include "base/DescribedError.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tavo {

/// Why a configuration cannot be obeyed.
class TavoValidationError final : public DescribedError {
public:
    enum class Kind { invalidBatteryCutoffPercent, invalidPollIntervalSeconds, emptyTriggerQuery };

    static TavoValidationError invalidBatteryCutoffPercent(std::int64_t received) {
        return {Kind::invalidBatteryCutoffPercent,
                "battery cutoff percent must be between 1 and 100. received " + std::to_string(received) + ".",
                received};
    }

    /// Never thrown while validation fixes the poll interval.
    static TavoValidationError invalidPollIntervalSeconds(std::int64_t received) {
        return {Kind::invalidPollIntervalSeconds,
                "poll interval must be between 5 and 3600 seconds. received " + std::to_string(received) + ".",
                received};
    }

    static TavoValidationError emptyTriggerQuery() {
        return {Kind::emptyTriggerQuery, "trigger query must not be empty."};
    }

    Kind kind() const { return errorKind; }

    /// The offending number, where there is one.
    std::optional<std::int64_t> received() const { return offendingNumber; }

    bool operator==(const TavoValidationError& other) const {
        return errorKind == other.errorKind && offendingNumber == other.offendingNumber;
    }

private:
    TavoValidationError(Kind kind, const std::string& description, std::optional<std::int64_t> received = {})
        : DescribedError(description), errorKind(kind), offendingNumber(received) {}

    Kind errorKind;
    std::optional<std::int64_t> offendingNumber;
};

} // namespace tavo
