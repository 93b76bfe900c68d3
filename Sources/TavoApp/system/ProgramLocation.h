#pragma once

#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string_view>

namespace tavo {

/// The running program's file, dyld(3) and proc(5); as it was called where the system does not know.
std::filesystem::path runningProgram(const char* calledAs);

/// The file of a program that comes with the running one: the first that exists of `name` in the running program's own
/// folder and in the given ones, which are relative to that folder. Nothing when there is none.
/// @param programPath  the running program's file.
std::optional<std::filesystem::path> findCompanionProgram(const std::filesystem::path& programPath,
                                                          std::string_view name,
                                                          std::initializer_list<std::string_view> otherFolders);

/// The same in the given folders alone, in their order.
std::optional<std::filesystem::path> findProgram(const std::filesystem::path& programPath, std::string_view name,
                                                 std::initializer_list<std::string_view> folders);

} // namespace tavo
