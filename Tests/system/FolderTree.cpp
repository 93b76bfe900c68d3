#include "system/FolderTree.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace tavo {

namespace fs = std::filesystem;

FolderTree::FolderTree() {
    auto name = (fs::temp_directory_path() / "tavo-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), name);
    }
    folder = name;
}

FolderTree::~FolderTree() {
    std::error_code ignored; // what is left behind in the temporary folder harms nobody
    fs::remove_all(folder, ignored);
}

void FolderTree::write(const fs::path& file, std::string_view content) const {
    fs::create_directories((folder / file).parent_path());
    std::ofstream stream(folder / file, std::ios::binary);
    if (!stream.write(content.data(), static_cast<std::streamsize>(content.size())).flush()) {
        throw std::runtime_error("could not write " + (folder / file).string());
    }
}

} // namespace tavo
