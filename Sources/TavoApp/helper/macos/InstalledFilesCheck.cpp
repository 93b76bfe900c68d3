#include "helper/macos/InstalledFilesCheck.h"

#include "base/AtomicFile.h"
#include "helper/PrivilegedHelperInstaller.h"

#include <fmt/format.h>

#include <utility>

namespace tavo {

namespace {

std::optional<std::string> contentIfReadable(const std::filesystem::path& file) {
    try {
        return readWholeFile(file);
    } catch (const std::exception&) {
        // The content is only compared with a later one, which then counts as new.
        return std::nullopt;
    }
}

} // namespace

InstalledFilesCheck::InstalledFilesCheck(const std::vector<File>& files, std::string removal)
    : removal(std::move(removal)) {
    for (const auto& file : files) {
        expectations.push_back({file, contentIfReadable(file.installed)});
    }
}

void InstalledFilesCheck::verify(bool hasSucceeded) const {
    for (const auto& [file, before] : expectations) {
        if (!std::filesystem::exists(file.installed)) {
            continue;
        }
        const auto content = readWholeFile(file.installed);
        if (content == file.meant || (!hasSucceeded && content == before)) {
            continue;
        }
        throw PrivilegedHelperInstallerError::foreignProgramInstalled(
            fmt::format("the files to install were replaced while the approval was awaited: {} is not tavo's, and a "
                        "foreign program "
                        "{} been started as root. remove it with \"{}\" in a terminal.",
                        file.installed.string(), hasSucceeded ? "has" : "may have", removal));
    }
}

} // namespace tavo
