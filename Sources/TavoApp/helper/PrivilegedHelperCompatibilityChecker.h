#pragma once

#include <filesystem>
#include <optional>

namespace tavo {

/// Tells whether the installed helper is the one that belongs to the running program. Only such a helper is trusted to
/// remove itself when it is asked to.
class PrivilegedHelperCompatibilityChecker {
public:
    /// @param installedHelper  HelperServiceSetup::helperExecutable()
    explicit PrivilegedHelperCompatibilityChecker(std::filesystem::path installedHelper)
        : installedHelper(std::move(installedHelper)) {}

    /// Whether both files can be read and are equal byte for byte. False when there is no source.
    bool
    installedHelperMatchesCurrentBuild(const std::optional<std::filesystem::path>& sourceExecutableURL) const noexcept;

private:
    std::filesystem::path installedHelper;
};

} // namespace tavo
