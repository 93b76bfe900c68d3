#include "system/ProgramLocation.h"

namespace tavo {

std::optional<std::filesystem::path> findCompanionProgram(const std::filesystem::path& programPath,
                                                          std::string_view name,
                                                          std::initializer_list<std::string_view> otherFolders) {
    const auto beside = findProgram(programPath, name, {"."});
    return beside ? beside : findProgram(programPath, name, otherFolders);
}

std::optional<std::filesystem::path> findProgram(const std::filesystem::path& programPath, std::string_view name,
                                                 std::initializer_list<std::string_view> folders) {
    std::error_code ignored; // a file that cannot be examined cannot be run either
    for (const auto folder : folders) {
        auto program = (programPath.parent_path() / folder / name).lexically_normal();
        if (std::filesystem::is_regular_file(program, ignored)) {
            return program;
        }
    }
    return std::nullopt;
}

} // namespace tavo
