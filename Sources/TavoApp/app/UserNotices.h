#pragma once

#include "app/TavoAppModel.h"

#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// What the user has to be told while it holds, wherever he is looking; each text once.
struct UserNotices {
    /// Something went wrong.
    std::vector<std::string> errors;

    /// Less is held than was asked for.
    std::vector<std::string> warnings;

    bool operator==(const UserNotices&) const = default;
    bool isEmpty() const { return errors.empty() && warnings.empty(); }

    static UserNotices of(const TavoAppModel& model);

    /// With one more warning, unless it is empty.
    UserNotices withHint(const std::string& hint) const;
};

/// Notices when keeping awake ends for a reason that the user did not choose.
class AwakeEndWatch {
public:
    /// Looks at the latest snapshot. Gives what to tell the user, once for each such end.
    std::optional<std::string> look(const TavoAppModel& model);

private:
    bool wasAwake = false;
};

} // namespace tavo
