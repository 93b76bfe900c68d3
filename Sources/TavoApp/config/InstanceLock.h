#pragma once

#include "base/FileDescriptor.h"

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>

namespace tavo {

/// The lock of the one Tavo of a user: a file that holds the process id, and is locked for the life of the process.
///
/// The lock is a record lock of fcntl(2): it goes with its process however that ends, no child inherits it, and the
/// kernel names its holder, so that the number in the file, which a killed process leaves behind, is never believed.
class InstanceLock {
public:
    /// Takes the lock and writes the process id into the first line of the file, whose folder is made when it is
    /// missing.
    /// @param note  about the holder; goes into the lines below.
    /// @return nothing when another process holds the lock. Within one process only one may be made.
    /// @throws std::system_error naming the path, and UntrustedPathError.
    static std::optional<InstanceLock> acquire(const std::filesystem::path& path, const std::string& note = {});

    /// In a note that is a JSON object: true for a Tavo whose window has edits that are not saved.
    static constexpr const char* unsavedEditsKey = "unsavedEdits";

    /// In the same: true for a Tavo that has a window to show.
    static constexpr const char* windowKey = "window";

    /// In the same, a text: what is held less than planned, as the assertion's child says it.
    static constexpr const char* assertionNoticeKey = "assertionNotice";

    /// The file's path.
    const std::filesystem::path& location() const { return path; }

    /// Replaces the note. @throws std::system_error naming the path.
    void replaceNote(const std::string& note) const;

    /// The process that holds the lock now; nothing when nobody does, or when the file cannot be read. Not for the
    /// process that holds it: a record lock ends as soon as its process closes any descriptor of the file.
    static std::optional<pid_t> holder(const std::filesystem::path& path);

    /// The note of the process that holds the lock now; empty when nobody does. The same restriction as for holder().
    static std::string noteOfHolder(const std::filesystem::path& path);

private:
    InstanceLock(FileDescriptor file, std::filesystem::path path) : file(std::move(file)), path(std::move(path)) {}

    FileDescriptor file;
    std::filesystem::path path;
};

} // namespace tavo
