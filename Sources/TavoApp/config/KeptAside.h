#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tavo {

/// A file that is about to be replaced, kept under another name as well. Forgotten again unless it is confirmed, so
/// that an attempt that fails leaves everything as it was.
class KeptAside {
public:
    /// Keeps it as a second name of the same file where the system allows that, else as a copy, and when it cannot be
    /// read under its new name alone.
    /// @param file   where the file really lies.
    /// @param aside  the new name; with ".2", ".3" and so on when there is something under that name already.
    /// @throws std::system_error naming both; nothing has changed then.
    KeptAside(std::filesystem::path file, const std::filesystem::path& aside);
    KeptAside(const KeptAside&) = delete;
    KeptAside& operator=(const KeptAside&) = delete;
    ~KeptAside();

    void confirm() { isConfirmed = true; }

private:
    bool keepAs(const std::filesystem::path& candidate);
    bool moveTo(const std::filesystem::path& candidate);
    [[noreturn]] void throwErrno(int error, const std::filesystem::path& candidate) const;

    std::filesystem::path file;
    std::filesystem::path name;
    bool wasMoved = false;
    bool isConfirmed = false;
};

} // namespace tavo
