#pragma once

#include "base/PowerStatus.h"
#include "base/RuntimeRecords.h"
#include "config/AppConfig.h"
#include "helper/PrivilegedHelperInstaller.h"

#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// The short name of a trigger in status texts: "always on", "codex", or a custom rule's query in lower case.
std::string shortDisplayName(const TriggerRule& rule);

/// Source and charge in two words: "battery 80%".
std::string summaryText(const PowerStatus& status);

/// Tavo's present state in a title and a detail line, all lower case. Never fails: every combination yields a text.
struct RuntimeStatusCopy {
    std::string title;
    std::string detail;

    bool operator==(const RuntimeStatusCopy&) const = default;

    /// @param config  the applied configuration, never a draft.
    /// @param machineNoun  the word for the machine: "mac" or "computer".
    static RuntimeStatusCopy make(const AppConfig& config, const RuntimeSnapshot& snapshot,
                                  const PowerStatus& powerStatus, std::string_view machineNoun = "mac");
};

/// The closed-lid permission in a title, which is empty when all is well, and a detail.
std::string helperStatusTitle(PrivilegedHelperInstallState state);
std::string helperStatusDetail(PrivilegedHelperInstallState state);

/// The content of the battery badge.
struct BatteryStatusBadge {
    PowerStatus powerStatus;

    /// The charge as a fraction of 1, within 0 and 1; absent when it is not known.
    std::optional<double> level() const;

    /// The charge, such as "42%", within 0 and 100; "ac" or "--" when it is not known.
    std::string displayText() const;
};

} // namespace tavo
