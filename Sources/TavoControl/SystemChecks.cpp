#include "TavoControl/SystemChecks.h"

#include "TavoControl/ExitStatus.h"
#include "app/StatusCopy.h"
#include "base/ErrorText.h"
#include "config/HistoryFile.h"

#include <fmt/format.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>

namespace tavo {

namespace {

SystemCheck checkProcesses(ProcessSnapshotProviding& processes) {
    try {
        const auto count = processes.snapshot(std::chrono::system_clock::now()).processes.size();
        return {.subject = "process table", .finding = fmt::format("{} processes can be seen", count)};
    } catch (const std::exception& error) {
        return {.subject = "process table",
                .verdict = CheckVerdict::broken,
                .finding = errorClause(error),
                .advice = "watching a program needs the process table; see that it can be read."};
    }
}

SystemCheck checkPower(const PowerStatus& status) {
    if (status.source == CurrentPowerSource::unknown) {
        return {.subject = "power",
                .verdict = CheckVerdict::limited,
                .finding = "the power source is unknown",
                .advice = "while it is unknown, a policy of ac only or battery only never keeps awake; use any."};
    }
    return {.subject = "power", .finding = summaryText(status)};
}

SystemCheck checkConfiguration(const TavoStoring& store) {
    const auto path = store.paths().configURL().string();
    try {
        loadConfigOrExplain(store);
    } catch (const ConfigurationError& error) {
        return {.subject = "configuration",
                .verdict = CheckVerdict::broken,
                .finding = error.what(),
                .advice = "tavo does not touch a file that it cannot read."};
    }
    std::error_code ignored; // a file that cannot be looked at was an error above
    return {.subject = "configuration",
            .finding =
                std::filesystem::exists(path, ignored) ? path + " can be used" : "no file yet; the defaults apply"};
}

constexpr const char* folderAdvice = "make it a folder that you may write to, or name another folder with --root.";

/// The nearest folder that exists has to be writable: the missing ones are made in it.
SystemCheck checkFolder(const std::filesystem::path& root) {
    auto folder = root;
    std::error_code ignored; // what cannot be looked at is there, and cannot be written either
    const auto isMissing = [&] {
        return std::filesystem::status(folder, ignored).type() == std::filesystem::file_type::not_found;
    };
    // A link that leads nowhere is not replaced by a folder.
    while (isMissing() && !std::filesystem::is_symlink(folder, ignored) && folder.has_relative_path()) {
        folder = folder.parent_path();
    }
    if (isMissing()) {
        return {.subject = "folder",
                .verdict = CheckVerdict::broken,
                .finding = fmt::format("{} is a link to {}, which does not exist", folder.string(),
                                       std::filesystem::read_symlink(folder, ignored).string()),
                .advice = folderAdvice};
    }
    const bool isFolder = std::filesystem::is_directory(folder, ignored);
    if (isFolder && access(folder.c_str(), W_OK | X_OK) == 0) {
        return {.subject = "folder", .finding = root.string() + " can be written"};
    }
    const auto home = missingHome(root);
    const auto homeNote = home ? "; " + *home : std::string();
    return {.subject = "folder",
            .verdict = CheckVerdict::broken,
            .finding = (folder == root ? "" : root.string() + " cannot be made: ") + folder.string() +
                       (isFolder || ignored ? " cannot be written" : " is not a folder") + homeNote,
            .advice = folderAdvice};
}

SystemCheck checkHistory(const TavoStoring& store) {
    const HistoryFile history(store.paths().historyURL());
    if (const auto problem = history.problem()) {
        return {.subject = "history",
                .verdict = CheckVerdict::limited,
                .finding = *problem,
                .advice = "tavo still keeps awake, but tavoctl history will not show it."};
    }
    return {.subject = "history", .finding = "history.jsonl can be written"};
}

/// Descriptors for the main loop, the child's pipes, the buses and the process table, with some to spare.
constexpr rlim_t minOpenFiles = 64;

} // namespace

std::optional<std::string> openFilesShortage() {
    struct rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= minOpenFiles) {
        return std::nullopt;
    }
    return fmt::format("this process may have only {} files open at once, and needs {}", limit.rlim_cur, minOpenFiles);
}

std::optional<std::string> missingHome(const std::filesystem::path& root) {
    const auto home = SystemUserDirectories().homeDirectory();
    std::error_code ignored; // a home that cannot be looked at is there
    const bool isInIt = std::mismatch(home.begin(), home.end(), root.begin(), root.end()).first == home.end();
    if (home.empty() || !isInIt ||
        std::filesystem::status(home, ignored).type() != std::filesystem::file_type::not_found) {
        return std::nullopt;
    }
    return fmt::format("the home folder {} does not exist", home.string());
}

std::vector<SystemCheck> checkSurroundings(const Platform& platform, const TavoStoring& store) {
    std::vector<SystemCheck> checks{checkProcesses(*platform.processes),
                                    checkPower(platform.powerEnvironment->currentStatus()), checkConfiguration(store),
                                    checkFolder(store.paths().rootDirectory), checkHistory(store)};
    if (const auto shortage = openFilesShortage()) {
        checks.push_back({.subject = "open files",
                          .verdict = CheckVerdict::broken,
                          .finding = *shortage,
                          .advice = "raise the limit, with ulimit -n or where this process is started."});
    }
    return checks;
}

} // namespace tavo
