#pragma once

#include "app/TavoAppModel.h"

#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// The errors and warnings that hold at present, for every place that shows them; each text once.
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
    /// Compares the latest snapshot with the one before. Returns a notification for the user, once for each such end.
    std::optional<std::string> update(const TavoAppModel& model);

private:
    bool wasAwake = false;
};

} // namespace tavo
