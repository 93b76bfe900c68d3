#pragma once

#include "runtime/WorkRequirement.h"

#include <filesystem>
#include <optional>

namespace tavo {

/// "login.conf": the options for the desktop app when it is started at login. Switching launch at login off and on again
/// keeps them. Readable by the user alone (0600).
///
/// Its lines are "while-working", then "busy PERCENT" and "grace DURATION" where they differ from the defaults, in the
/// format of the command-line options of these names.
class LoginOptionsFile {
public:
    explicit LoginOptionsFile(std::filesystem::path path) : path(std::move(path)) {}

    /// Nothing when there is no file. @throws DescribedError that says what is wrong with it; std::system_error.
    std::optional<WorkRequirement> read() const;

    /// Removes the file when there is no requirement. @throws std::system_error
    void write(const std::optional<WorkRequirement>& requirement) const;

private:
    std::filesystem::path path;
};

} // namespace tavo
