#pragma once

#include "app/Platform.h"
#include "config/TavoStore.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// The severity of a check's finding.
enum class CheckVerdict {
    fine,
    limited,     ///< Tavo works, with less than its full function
    broken,      ///< Tavo cannot work until this is fixed
    unavailable, ///< the system offers no means to stay awake, or refuses them
};

template <>
struct RawValues<CheckVerdict> {
    static constexpr RawValueTable<CheckVerdict, 4> table{{
        {CheckVerdict::fine, "ok"},
        {CheckVerdict::limited, "limited"},
        {CheckVerdict::broken, "broken"},
        {CheckVerdict::unavailable, "unavailable"},
    }};
};

/// One thing that Tavo needs, and whether it is there.
struct SystemCheck {
    std::string subject;
    CheckVerdict verdict = CheckVerdict::fine;
    std::string finding;

    /// The user's next step; empty when all is well.
    std::string advice;
};

/// The checks that only this system has: its means to stay awake. Each system has its own implementation.
std::vector<SystemCheck> checkMeansToStayAwake(const Platform& platform);

/// The checks that every system has: processes, power, configuration.
std::vector<SystemCheck> checkSurroundings(const Platform& platform, const TavoStoring& store);

/// Why this process may not open as many files at once as keeping awake takes, as a clause; nothing when it may.
std::optional<std::string> openFilesShortage();

/// Says that the user's home folder does not exist, when `root` is to lie in it; nothing otherwise.
std::optional<std::string> missingHome(const std::filesystem::path& root);

} // namespace tavo
