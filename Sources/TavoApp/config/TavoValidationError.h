#pragma once

#include "base/DescribedError.h"

#include <cstdint>
#include <optional>

namespace tavo {

/// Why a configuration cannot be obeyed.
class TavoValidationError final : public DescribedError {
public:
    enum class Kind { invalidBatteryCutoffPercent, invalidPollIntervalSeconds, emptyTriggerQuery };

    static TavoValidationError invalidBatteryCutoffPercent(std::int64_t received);

    /// Nothing raises this while the poll interval is fixed: validation overwrites what was asked for.
    static TavoValidationError invalidPollIntervalSeconds(std::int64_t received);

    static TavoValidationError emptyTriggerQuery();

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
