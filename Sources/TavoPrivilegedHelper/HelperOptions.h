#pragma once

#include "base/DescribedError.h"

#include <sys/types.h>

#include <optional>
#include <span>
#include <string>

namespace tavo {

/// What the helper was started for.
struct HelperOptions {
    enum class Task {
        serve,        ///< until it is told to stop
        afterStop,    ///< clean up behind a helper that has ended, and end
        printVersion, ///< and end
        printHelp,    ///< and end
    };

    Task task = Task::serve;

    /// Who is served beside root.
    std::optional<uid_t> user;

    bool operator==(const HelperOptions&) const = default;

    /// @param arguments  without the program's name. @throws HelperUsageError
    static HelperOptions parse(std::span<const char* const> arguments);

    static std::string help();
};

/// The helper was called wrongly.
class HelperUsageError final : public DescribedError {
public:
    using DescribedError::DescribedError;
};

} // namespace tavo
