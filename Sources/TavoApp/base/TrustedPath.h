#pragma once

#include "base/DescribedError.h"

#include <sys/types.h>
#include <unistd.h>

#include <filesystem>

namespace tavo {

/// A path of root's leads through something that somebody else can change. The description names it and a remedy.
class UntrustedPathError final : public DescribedError {
public:
    static UntrustedPathError folderOfAnother(const std::filesystem::path& path, const std::filesystem::path& folder,
                                              uid_t owner);
    static UntrustedPathError folderOpenToOthers(const std::filesystem::path& path,
                                                 const std::filesystem::path& folder);
    static UntrustedPathError linkOfAnother(const std::filesystem::path& path, const std::filesystem::path& link,
                                            uid_t owner);

private:
    using DescribedError::DescribedError;
};

/// Where a file really lies when `user` reads or writes it.
///
/// For root that is the path with every link followed, after a check that nobody else can lead root astray: all folders
/// on the way and all links are root's own, and nobody else may write to the folders. A folder such as /tmp, where what
/// is root's cannot be replaced by others, may be on the way, but may not hold the file itself. What is missing is left
/// to be made. For everybody else it is the path itself: only its user can plant anything in a folder of that user's.
/// @throws UntrustedPathError, std::system_error when the path cannot be examined.
std::filesystem::path trustedFile(const std::filesystem::path& path, uid_t user = geteuid());

/// The same for a folder, which may not be open to others itself.
std::filesystem::path trustedFolder(const std::filesystem::path& path, uid_t user = geteuid());

} // namespace tavo
