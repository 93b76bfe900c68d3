#pragma once

#include "base/DescribedError.h"
#include "config/TavoStore.h"

#include <array>
#include <exception>
#include <string>
#include <string_view>

namespace tavo {

/// tavoctl's exit statuses; the numbers are those of sysexits.h.
enum class ExitStatus : int {
    success = 0,
    failure = 1,
    wrongUsage = 64,
    systemUnavailable = 69,    ///< the system offers no means to stay awake, or refuses them
    alreadyRunning = 75,       ///< another Tavo of this user runs
    invalidConfiguration = 78, ///< the configuration cannot be read, or is invalid
};

struct ExitStatusMeaning {
    ExitStatus status;
    std::string_view meaning;
};

/// Every exit status, as the help explains it.
inline constexpr std::array exitStatusMeanings{
    ExitStatusMeaning{ExitStatus::success, "done"},
    ExitStatusMeaning{ExitStatus::failure, "failed; standard error says why"},
    ExitStatusMeaning{ExitStatus::wrongUsage, "the command line is wrong"},
    ExitStatusMeaning{ExitStatus::systemUnavailable, "the system offers no means to stay awake, or refuses them"},
    ExitStatusMeaning{ExitStatus::alreadyRunning, "another tavo of this user is running"},
    ExitStatusMeaning{ExitStatus::invalidConfiguration, "the configuration cannot be read, or is invalid"}};

/// The exit status for a failure of the engine.
ExitStatus exitStatusOf(const std::exception_ptr& failure);

/// The next step for a user whose evaluation failed, as one more sentence after a space; empty when the failure's own
/// text says enough.
std::string adviceFor(const std::exception_ptr& failure);

/// The configuration file cannot be used. Says which file, why, and what can be done.
class ConfigurationError final : public DescribedError {
public:
    using DescribedError::DescribedError;
};

/// Loads the configuration. @throws ConfigurationError for every failure; the file stays as it is.
AppConfig loadConfigOrExplain(const TavoStoring& store);

} // namespace tavo
