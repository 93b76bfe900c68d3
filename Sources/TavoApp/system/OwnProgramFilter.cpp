#include "system/OwnProgramFilter.h"

#include "system/ProcessPlaces.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace tavo {

namespace {

constexpr std::array<std::string_view, 4> ownPrograms{"tavo", "tavoctl", "tavo-inhibit", "TavoPrivilegedHelper"};

/// Programs that they run on macOS. The table that ps prints has ps itself in it, with its own arguments ("time",
/// "EXECUTABLE") on its line; and a lock that is held because its holder runs would never be released.
constexpr std::array<std::string_view, 2> ownTools{"caffeinate", "ps"};

/// Programs that run another one whose name and arguments stand on their own command line.
constexpr auto wrappers = std::to_array<std::string_view>({
    // shells
    "ash",
    "bash",
    "busybox",
    "csh",
    "dash",
    "elvish",
    "fish",
    "ksh",
    "ksh93",
    "mksh",
    "nu",
    "oksh",
    "osh",
    "pwsh",
    "rbash",
    "sh",
    "tcsh",
    "xonsh",
    "yash",
    "zsh",
    // another user, another environment
    "bwrap",
    "chroot",
    "chrt",
    "dbus-run-session",
    "doas",
    "env",
    "firejail",
    "flock",
    "ionice",
    "login",
    "nice",
    "nohup",
    "nsenter",
    "numactl",
    "pkexec",
    "run0",
    "runuser",
    "setpriv",
    "setsid",
    "su",
    "sudo",
    "systemd-inhibit",
    "systemd-run",
    "taskset",
    "unshare",
    // timing, repetition, observation
    "caffeinate",
    "entr",
    "expect",
    "gtime",
    "gtimeout",
    "ltrace",
    "perf",
    "script",
    "stdbuf",
    "strace",
    "time",
    "timeout",
    "unbuffer",
    "watch",
    "xargs",
    // terminals
    "alacritty",
    "foot",
    "ghostty",
    "gnome-terminal",
    "gnome-terminal-server",
    "kgx",
    "kitty",
    "konsole",
    "lxterminal",
    "mate-terminal",
    "ptyxis",
    "qterminal",
    "rxvt",
    "screen",
    "SCREEN",
    "st",
    "terminator",
    "terminology",
    "tilix",
    "tmux",
    "tmux: client",
    "tmux: server",
    "urxvt",
    "uxterm",
    "wezterm",
    "wezterm-gui",
    "x-terminal-emulator",
    "xfce4-terminal",
    "xterm",
});

/// Tables that hold only the start of a long name cut it after 15 bytes (Linux) or 16 (macOS).
constexpr std::size_t minCutNameLength = 15;

bool isWrapper(std::string_view name) {
    if (name.starts_with('-')) { // a login shell
        name.remove_prefix(1);
    }
    return std::find(wrappers.begin(), wrappers.end(), name) != wrappers.end();
}

/// The own program that runs under the name, if any.
std::optional<std::string_view> ownProgram(std::string_view name) {
    const auto found = std::find_if(ownPrograms.begin(), ownPrograms.end(), [name](std::string_view program) {
        return program == name || (name.size() >= minCutNameLength && program.starts_with(name));
    });
    return found == ownPrograms.end() ? std::nullopt : std::optional(*found);
}

/// The hyphen counts, so that "tavo" is not found in "tavo-inhibit". So do the bytes of letters beyond ASCII.
bool isPartOfName(char unit) {
    return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') || (unit >= '0' && unit <= '9') ||
           unit == '_' || unit == '-' || (static_cast<unsigned char>(unit) & 0x80U) != 0;
}

bool namesAsWord(std::string_view commandLine, std::string_view program) {
    if (program.empty()) {
        return false;
    }
    for (auto start = commandLine.find(program); start != std::string_view::npos;
         start = commandLine.find(program, start + 1)) {
        const auto end = start + program.size();
        if ((start == 0 || !isPartOfName(commandLine[start - 1])) &&
            (end == commandLine.size() || !isPartOfName(commandLine[end]))) {
            return true;
        }
    }
    return false;
}

/// The places of the own processes, their wrappers and their tools in the table.
class OwnProcesses {
public:
    OwnProcesses(const std::vector<ProcessSample>& processes, std::int32_t ownPID)
        : processes(processes), placeOfPID(processes), ownPIDs{ownPID} {
        for (std::size_t index = 0; index < processes.size(); ++index) {
            const auto& process = processes[index];
            const auto program = ownProgram(process.executableName);
            if (program || process.pid == ownPID) {
                places.push_back(index);
                ownPIDs.insert(process.pid);
                addWrappers(process.parentPID, program.value_or(process.executableName));
            }
        }
        addTools();
    }

    const std::vector<std::size_t>& all() const { return places; }

private:
    void addWrappers(std::int32_t parentPID, std::string_view program) {
        // The table may be inconsistent (an id reused while it was read), so parents may form a ring.
        for (std::size_t steps = 0; steps < processes.size(); ++steps) {
            const auto place = placeOfPID.find(parentPID);
            if (!place || !isWrapper(processes[*place].executableName)) {
                return;
            }
            const auto& ancestor = processes[*place];
            if (namesAsWord(ancestor.commandLine, program)) {
                places.push_back(*place);
            }
            parentPID = ancestor.parentPID;
        }
    }

    void addTools() {
        for (std::size_t index = 0; index < processes.size(); ++index) {
            const auto& process = processes[index];
            if (ownPIDs.contains(process.parentPID) &&
                std::find(ownTools.begin(), ownTools.end(), process.executableName) != ownTools.end()) {
                places.push_back(index);
            }
        }
    }

    const std::vector<ProcessSample>& processes;
    ProcessPlaces placeOfPID;
    std::unordered_set<std::int32_t> ownPIDs;
    std::vector<std::size_t> places;
};

} // namespace

OwnProgramFilter::OwnProgramFilter(std::shared_ptr<ProcessSnapshotProviding> provider, std::int32_t ownPID)
    : provider(std::move(provider)), ownPID(ownPID) {}

ProcessSnapshot OwnProgramFilter::snapshot(TimePoint at) {
    auto snapshot = provider->snapshot(at);
    // Blanked only when every walk is done: a walk needs the names.
    const OwnProcesses own(snapshot.processes, ownPID);
    for (const auto place : own.all()) {
        snapshot.processes[place].executableName = {};
        snapshot.processes[place].commandLine = {};
    }
    return snapshot;
}

} // namespace tavo
