#pragma once

#include "runtime/WorkRequirement.h"

#include <filesystem>
#include <optional>

namespace tavo {

/// "run.conf": what the desktop app is to be asked for when it is started at login. It outlasts launch at login being switched
/// off and on again. For its user alone (0600).
///
/// Its lines are "while-working", then "busy PERCENT" and "grace DURATION" where they are not the defaults, as the options of
/// these names have them.
class LoginOptionsFile {
public:
    explicit LoginOptionsFile(std::filesystem::path path) : path(std::move(path)) {}

    /// Nothing when there is no file. @throws DescribedError that says what is wrong with it; std::system_error.
    std::optional<WorkRequirement> read() const;

    /// Removes the file when nothing is to be asked for. @throws std::system_error
    void write(const std::optional<WorkRequirement>& requirement) const;

private:
    std::filesystem::path path;
};

} // namespace tavo
