#include "app/EditedConfigFile.h"

#include "base/AtomicFile.h"

#include <string>
#include <system_error>

namespace tavo {

namespace {

std::optional<std::string> contentOf(const std::filesystem::path& file) {
    try {
        return readWholeFile(file);
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory) {
            return std::nullopt;
        }
        throw;
    }
}

} // namespace

std::optional<std::filesystem::path> keepEditedConfigAside(const TavoPaths& paths) {
    const auto content = contentOf(paths.configURL());
    if (!content) {
        return std::nullopt;
    }
    const auto aside = paths.configURL().string() + ".edited";
    auto name = aside;
    for (int number = 2; !createFile(name, *content); ++number) {
        name = aside + "." + std::to_string(number);
    }
    return name;
}

} // namespace tavo
