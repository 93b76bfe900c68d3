#include "helper/PrivilegedHelperCompatibilityChecker.h"

#include "base/AtomicFile.h"

#include <exception>

namespace tavo {

bool PrivilegedHelperCompatibilityChecker::installedHelperMatchesCurrentBuild(
    const std::optional<std::filesystem::path>& sourceExecutableURL) const noexcept {
    if (!sourceExecutableURL) {
        return false;
    }
    try {
        // Most builds differ in size already, and then neither file has to be read.
        return std::filesystem::file_size(*sourceExecutableURL) == std::filesystem::file_size(installedHelper) &&
               readWholeFile(*sourceExecutableURL) == readWholeFile(installedHelper);
    } catch (const std::exception&) {
        // A file that cannot be read proves nothing, so it is not trusted.
        return false;
    }
}

} // namespace tavo
