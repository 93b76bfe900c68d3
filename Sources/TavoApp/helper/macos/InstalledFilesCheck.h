#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// Tells whether the files that an installation put into place are the intended ones.
///
/// Another program of the same user can rewrite the files to install while the password prompt is open. Made before the
/// prompt, this holds the bytes in memory, where only its own process reaches them.
class InstalledFilesCheck {
public:
    struct File {
        std::filesystem::path installed;

        /// Its expected content afterwards.
        std::string meant;
    };

    /// @param removal  the commands that remove what was installed, on one line, as the user is told to type them.
    InstalledFilesCheck(const std::vector<File>& files, std::string removal);

    /// To be called after the installation. A file that is not there is no foreign one. After a failure, a file that is
    /// as it was before is not this installation's either.
    /// @throws PrivilegedHelperInstallerError (installFailed, foreignProgram()) for a file that holds something else,
    ///         and std::system_error for one that cannot be read.
    void verify(bool hasSucceeded) const;

private:
    struct Expectation {
        File file;

        /// Absent where there was nothing to read.
        std::optional<std::string> before;
    };

    std::vector<Expectation> expectations;
    std::string removal;
};

} // namespace tavo
