#include "TavoControl/SettingsCommand.h"

#include "TavoControl/Console.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/HeadlessCommand.h"
#include "TavoControl/RunningTavo.h"
#include "TavoControl/Settings.h"
#include "TavoControl/StatusCommand.h"
#include "TavoControl/StatusReport.h"
#include "app/LoginOptionsFile.h"
#include "base/AtomicFile.h"
#include "base/ErrorText.h"
#include "base/FileDescriptor.h"
#include "base/JsonCoding.h"
#include "base/Text.h"
#include "system/ProcessStart.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <thread>

namespace tavo {

namespace {

// Together 2 seconds.
constexpr int pollAttempts = 200;
constexpr std::chrono::microseconds pollInterval{10000};

/// Distinguishes the versions of a file that is replaced atomically.
struct FileVersion {
    ino_t inode = 0;
    std::filesystem::file_time_type written;

    bool operator==(const FileVersion&) const = default;
};

std::optional<FileVersion> versionOf(const std::filesystem::path& file) {
    struct stat status {};
    std::error_code error;
    const auto written = std::filesystem::last_write_time(file, error);
    if (error || stat(file.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return FileVersion{status.st_ino, written};
}

/// Held from reading to writing, so that of two changes at once neither is lost.
FileDescriptor lockFolder(const std::filesystem::path& folder) {
    ensureDirectoryExists(folder);
    FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // On a file system without such locks, one of two simultaneous changes may be lost.
    [[maybe_unused]] const auto locked = descriptor ? flock(descriptor.get(), LOCK_EX) : -1;
    return descriptor;
}

std::string shown(const std::string& value) {
    return value.empty() ? "\"\"" : value;
}

/// The settings that differ, as in "watchMode: open -> closed".
std::vector<std::string> differences(const AppConfig& before, const AppConfig& after) {
    std::vector<std::string> lines;
    const auto old = settingsOf(before);
    const auto now = settingsOf(after);
    for (std::size_t index = 0; index < now.size(); ++index) {
        if (!(old[index] == now[index])) {
            lines.push_back(
                fmt::format("{}: {} -> {}", now[index].key, shown(old[index].value), shown(now[index].value)));
        }
    }
    return lines;
}

} // namespace

ExitStatus SettingsCommand::print(const GetOptions& options) const {
    const auto config = loadConfigOrExplain(store);
    const Console console(stdout);
    if (options.key) {
        console.print(options.json ? shownJson(settingJson(config, *options.key))
                                   : visibleControls(settingValue(config, *options.key)));
        return ExitStatus::success;
    }
    if (options.json) {
        console.print(shownJson(config));
        return ExitStatus::success;
    }
    for (const auto& setting : settingsOf(config)) {
        console.print(visibleControls(fmt::format("{} = {}", setting.key, setting.value)));
    }
    return ExitStatus::success;
}

ExitStatus SettingsCommand::change(const ChangeOptions& options) const {
    const auto lock = lockFolder(store.paths().rootDirectory);
    auto before = loadConfigOrExplain(store);
    const bool wasEnabled = before.isEnabled;
    auto after = changed(before, options, wasEnabled);
    if (options.loginOptions && !platform.loginOptionsFile.empty()) {
        LoginOptionsFile(platform.loginOptionsFile).write(*options.loginOptions);
    }
    if (options.login || after.launchAtLoginEnabled != before.launchAtLoginEnabled) {
        if (after.launchAtLoginEnabled) {
            enableLogin(before, after);
        } else {
            // Nothing is saved before that is done: a command that is killed meanwhile has changed nothing.
            (void)platform.setLaunchAtLogin(false);
        }
        // That may have taken seconds, in which somebody else may have edited the file.
        const bool wasLaunched = before.launchAtLoginEnabled;
        before = loadConfigOrExplain(store);
        before.launchAtLoginEnabled = wasLaunched;
        after = changed(before, options, wasEnabled);
    }
    if (before != after) {
        store.saveConfig(after);
    }
    std::exception_ptr unwritten;
    try {
        printChange(before, after);
        if (options.loginOptions && *options.loginOptions) {
            Console(stdout).print(
                fmt::format("at login the app starts with {}.", fmt::join((*options.loginOptions)->arguments(), " ")));
        }
        if (const auto note = options.login ? headlessRunNote(after.launchAtLoginEnabled, platform) : std::nullopt) {
            Console(stdout).print(*note);
        }
    } catch (const OutputError&) {
        // The change is made, so the running Tavo is told of it even when nobody reads this.
        unwritten = std::current_exception();
    }
    const auto status = updateRunningTavo(after);
    if (unwritten) {
        std::rethrow_exception(unwritten);
    }
    return status;
}

/// The change is saved before the system loads what it is to start, which may take seconds: of a command that is killed
/// meanwhile the file and the next login agree.
void SettingsCommand::enableLogin(const AppConfig& before, const AppConfig& after) const {
    if (before != after) {
        store.saveConfig(after);
    }
    try {
        if (const auto rest = platform.setLaunchAtLogin(true)) {
            rest();
        }
    } catch (...) {
        if (before != after) {
            takeBackLogin();
        }
        throw;
    }
}

void SettingsCommand::takeBackLogin() const {
    try {
        auto config = store.loadConfig();
        config.launchAtLoginEnabled = false;
        store.saveConfig(config);
    } catch (const std::exception&) {
        // The failure of the login itself is what the user is told.
    }
}

void SettingsCommand::printChange(const AppConfig& before, const AppConfig& after) const {
    const Console console(stdout);
    if (before == after) {
        console.print("nothing to change.");
    }
    for (const auto& line : differences(before, after)) {
        console.print(visibleControls(line));
    }
    if (after.watchMode != WatchMode::open && after.watchMode != before.watchMode &&
        !platform.closedLidSupport().hasFiles()) {
        console.print("covering a closed lid needs the helper, which is not installed yet: tavoctl helper install");
    }
}

/// @param wasEnabled  the switch's state when the command started, which decides what a toggle means.
AppConfig SettingsCommand::changed(const AppConfig& config, const ChangeOptions& options, bool wasEnabled) const {
    auto result = config;
    switch (options.kind) {
    case ChangeOptions::Kind::enable:
        result.isEnabled = true;
        return result;
    case ChangeOptions::Kind::disable:
        result.isEnabled = false;
        return result;
    case ChangeOptions::Kind::toggle:
        if (!wasEnabled) {
            return config.enabledForCurrentPowerSource(platform.powerEnvironment->currentStatus());
        }
        result.isEnabled = false;
        return result;
    case ChangeOptions::Kind::trigger:
        result.trigger = options.trigger;
        return result;
    case ChangeOptions::Kind::set:
        return withSetting(config, options.key, options.value);
    }
    return result;
}

ExitStatus SettingsCommand::updateRunningTavo(const AppConfig& config) const {
    const Console console(stdout);
    const auto running = RunningTavo::find(store);
    if (!running) {
        console.print("no tavo is running; the next one starts with this.");
        if (!config.isEnabled) {
            console.print(fmt::format("{}.", switchedOffNotice));
        }
        return ExitStatus::success;
    }
    if (running->hasUnsavedEdits) {
        console.print(fmt::format(
            "the window of the running tavo (process id {}) has unsaved edits, so it does not follow until they are "
            "saved or reverted; saving them replaces this change, which is then kept as config.json.edited.",
            running->processID));
        return ExitStatus::success;
    }
    const auto state = store.paths().stateURL();
    const auto versionBefore = versionOf(state);
    // An evaluation that had begun before the change writes a state, too.
    const bool isEnabled = running->overrides.appliedTo(config).isEnabled;
    const auto hasFollowed = [&] {
        try {
            return store.loadRuntimeSnapshot().isEnabled == isEnabled;
        } catch (const std::exception&) {
            return false;
        }
    };
    const auto told = tellRunningTavo(store);
    if (told && isProcessStopped(*told)) {
        printError(
            "tavoctl: the change is saved, but the running tavo (process id {0}) is stopped, and follows once it is "
            "continued: fg, or kill -CONT {0}.\n",
            *told);
        return ExitStatus::failure;
    }
    if (told && !waitForNewState([&] { return versionOf(state) != versionBefore && hasFollowed(); })) {
        printError("tavoctl: the change is saved, but the running tavo (process id {}) has not followed within 2 "
                   "seconds; see tavoctl status.\n",
                   *told);
        return ExitStatus::failure;
    }
    if (const auto overridden = differences(config, running->overrides.appliedTo(config)); !overridden.empty()) {
        console.print(fmt::format("the running tavo was started with options that override the file: {}",
                                  visibleControls(fmt::format("{}", fmt::join(overridden, ", ")))));
    }
    return printStatus({}, store, platform);
}

bool SettingsCommand::waitForNewState(const std::function<bool()>& isNew) const {
    for (int attempt = 1; attempt <= pollAttempts; ++attempt) {
        if (isNew()) {
            return true;
        }
        if (platform.sleeper) {
            platform.sleeper(pollInterval);
        } else {
            std::this_thread::sleep_for(pollInterval);
        }
    }
    return isNew();
}

} // namespace tavo
