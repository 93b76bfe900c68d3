#pragma once

#include "base/DescribedError.h"

#include <string>

namespace tavo {

/// Keeping awake failed.
class WakeControlError final : public DescribedError {
public:
    enum class Kind {
        commandFailed,              ///< a command that wake control needs
        closedLidRequiresPrivilege, ///< nobody here may change what the closed lid does
        systemUnavailable,          ///< the system offers no means to stay awake, or refuses them
    };

    static WakeControlError commandFailed(const std::string& message) { return {Kind::commandFailed, message}; }

    static WakeControlError closedLidRequiresPrivilege() {
        return {Kind::closedLidRequiresPrivilege, "closed-lid wake prevention requires privileged command support."};
    }

    static WakeControlError systemUnavailable(const std::string& message) { return {Kind::systemUnavailable, message}; }

    Kind kind() const { return errorKind; }

    bool operator==(const WakeControlError& other) const {
        return errorKind == other.errorKind && description() == other.description();
    }

private:
    WakeControlError(Kind kind, const std::string& description) : DescribedError(description), errorKind(kind) {}

    Kind errorKind;
};

} // namespace tavo
