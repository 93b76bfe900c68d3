#pragma once

#include "config/HistoryEntry.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// The readable part of a history.
struct HistoryContent {
    /// The oldest first.
    std::vector<HistoryEntry> entries;

    /// Lines that are none: cut by a power failure, or written by somebody else.
    std::size_t skippedLines = 0;
};

/// A file of lines to which several processes append.
///
/// Each line is one write(2) at the end of the file, so that lines of two writers do not mix. The file is the user's
/// alone; a link, a pipe and a file of another user's are refused. A full file is renamed, and replaces the one that
/// was full before it.
class HistoryFile {
public:
    /// @param turnOverAt  in bytes: a file of this size is full.
    explicit HistoryFile(std::filesystem::path path, std::size_t turnOverAt = std::size_t{1} << 20U)
        : path(std::move(path)), turnOverAt(turnOverAt) {}

    /// Makes the folder and the file when they are missing. @throws std::system_error naming the path,
    /// UntrustedPathError.
    void append(const HistoryEntry& entry) const;

    /// The old file and the present one; nothing when there is none. Reads no more than the last part of a file that is
    /// far larger than it should be. @throws std::system_error naming the path, UntrustedPathError.
    HistoryContent read() const;

    /// Why a line could not be appended now, as a clause; nothing when it seems that it could. Writes nothing.
    std::optional<std::string> problem() const;

    /// Where the full file is kept.
    std::filesystem::path oldPath() const { return path.string() + ".1"; }

private:
    void appendLine(const std::string& line) const;
    void readInto(HistoryContent& content, const std::filesystem::path& file) const;

    std::filesystem::path path;
    std::size_t turnOverAt;
};

} // namespace tavo
