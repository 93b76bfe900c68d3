#pragma once

#include <filesystem>
#include <string_view>

namespace tavo {

/// A temporary folder with files to order, gone with the object.
class FolderTree {
public:
    FolderTree();
    FolderTree(const FolderTree&) = delete;
    FolderTree& operator=(const FolderTree&) = delete;
    ~FolderTree();

    const std::filesystem::path& root() const { return folder; }

    /// Writes a file, with the folders above it.
    void write(const std::filesystem::path& file, std::string_view content) const;

private:
    std::filesystem::path folder;
};

} // namespace tavo
