#pragma once

#include "login/LaunchAtLoginManaging.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavo {

/// The value of an Exec key that starts a program with arguments: its path, for some paths a shell in front of it, and
/// each argument, quoted by the Desktop Entry Specification 1.5, "The Exec key", and then escaped as every value of the
/// type string is. Nothing for a path that the format cannot carry: with control characters, or not in UTF-8.
/// @param arguments  in UTF-8, without control characters.
std::optional<std::string> desktopExecValue(const std::filesystem::path& program,
                                            const std::vector<std::string>& arguments = {});

/// The value of a key in the group "Desktop Entry" of a desktop entry's text, unchanged; the last one when the key stands
/// there several times.
std::optional<std::string> desktopEntryValue(std::string_view text, std::string_view key);

/// Launch at login by an entry that desktops start, Desktop Application Autostart Specification 0.5.
class AutostartLoginManager final : public LaunchAtLoginManaging {
public:
    /// In the user's autostart folder: `$XDG_CONFIG_HOME/autostart` when the variable is an absolute path, else
    /// `~/.config/autostart`. Every operation throws CocoaPathsError when the system knows no home.
    AutostartLoginManager() = default;

    explicit AutostartLoginManager(std::filesystem::path autostartFolder) : folder(std::move(autostartFolder)) {}

    /// The app is started without its window. Starts nothing now, and leaves nothing to do.
    /// @throws LoginLaunchManagerError for a path that an entry cannot carry.
    [[nodiscard]] Remainder enable(const std::filesystem::path& executablePath,
                                   const std::vector<std::string>& options) override;

    void disable() override;

    /// An entry that is hidden, or that its user has switched off in the desktop's own settings, does not count.
    bool isEnabled() const override;

    std::filesystem::path entry() const;

private:
    /// Absent for the user's own, which is looked up when it is needed.
    std::optional<std::filesystem::path> folder;
};

} // namespace tavo
