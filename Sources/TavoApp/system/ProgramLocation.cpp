#include "system/ProgramLocation.h"

namespace tavo {

std::optional<std::filesystem::path> findCompanionProgram(const std::filesystem::path& programPath,
                                                          std::string_view name,
                                                          std::initializer_list<std::string_view> otherFolders) {
    const auto folder = programPath.parent_path();
    std::error_code ignored; // what cannot be looked at cannot be run either
    if (auto beside = folder / name; std::filesystem::is_regular_file(beside, ignored)) {
        return beside;
    }
    for (const auto other : otherFolders) {
        auto program = (folder / other / name).lexically_normal();
        if (std::filesystem::is_regular_file(program, ignored)) {
            return program;
        }
    }
    return std::nullopt;
}

} // namespace tavo
