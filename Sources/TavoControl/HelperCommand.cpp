#include "TavoControl/HelperCommand.h"

#include "TavoControl/Console.h"
#include "TavoControl/InterruptedBySignals.h"
#include "TavoControl/RunningTavo.h"
#include "Version.h"
#include "base/AtomicFile.h"
#include "base/ErrorText.h"
#include "base/JsonCoding.h"
#include "base/Text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <cstdlib>

namespace tavo {

namespace {

/// A helper that does not answer.
std::string silence(const HelperFacts& facts) {
    constexpr uid_t root = 0;
    if (!facts.isPackaged) {
        return "installed, but does not answer; tavoctl helper install installs it again";
    }
    if (facts.servedUser && facts.servedUser != facts.user && facts.user != root) {
        return fmt::format("granted to another user (user id {}); tavoctl helper install grants it to you instead",
                           *facts.servedUser);
    }
    return "granted, but does not answer; tavoctl helper install grants it again";
}

std::string inWords(const HelperFacts& facts) {
    switch (facts.state) {
    case PrivilegedHelperInstallState::notInstalled:
        return fmt::format("not {}; tavoctl helper install grants staying awake with the lid closed",
                           facts.isPackaged ? "granted" : "installed");
    case PrivilegedHelperInstallState::installedUnreachable:
        return silence(facts);
    case PrivilegedHelperInstallState::ready:
        return "ready";
    }
    return "";
}

std::string definitionInWords(const HelperFacts& facts) {
    if (facts.isPackaged) {
        return fmt::format("{} does not name one user; tavoctl helper install writes it again",
                           facts.otherDefinition->string());
    }
    return fmt::format("{} is another file than this build's, and may start another program; tavoctl helper install "
                       "replaces it",
                       facts.otherDefinition->string());
}

std::vector<std::string_view> namesOf(const std::vector<PMSetScope>& scopes) {
    std::vector<std::string_view> names;
    for (const auto scope : scopes) {
        names.push_back(rawValue(scope));
    }
    return names;
}

std::string lineOf(std::string_view subject, std::string_view finding) {
    return fmt::format("{:<12} {}", subject, finding);
}

std::string comparison(const HelperFacts& facts) {
    if (!facts.hasSource) {
        return "this build has none to compare it with";
    }
    return facts.matchesThisBuild ? "the same file as this build's" : "another file than this build's";
}

/// Whether root acts for somebody whose files it must not make its own.
bool actsForAnotherUser() {
    const char* const user = std::getenv("SUDO_UID");
    return geteuid() == 0 && user != nullptr && std::string_view(user) != "0";
}

std::optional<std::string> installedVersion(const Platform& platform) {
    try {
        const auto result = platform.commandRunner->run(
            {.executableURL = platform.helperSetup->helperExecutable(), .arguments = {"--version"}});
        constexpr std::string_view name = "TavoPrivilegedHelper ";
        if (result.exitCode == 0 && result.standardOutput.starts_with(name)) {
            return result.standardOutput.substr(name.size());
        }
    } catch (const std::exception&) {
        // A file that cannot be run has no version; its state says the rest.
    }
    return std::nullopt;
}

/// The findings about the installed service definition. One that cannot be read counts as another one: it is installed
/// readable by all, so somebody has changed it.
void examineDefinition(const HelperServiceSetup& setup, HelperFacts& facts) {
    facts.otherDefinition = setup.serviceDefinition();
    try {
        const auto content = readWholeFile(*facts.otherDefinition);
        facts.servedUser = setup.servedUser(content);
        if (setup.isOwnDefinition(content)) {
            facts.otherDefinition.reset();
        }
    } catch (const std::exception&) {
        // Said above.
    }
}

} // namespace

std::vector<std::string> helperReportLines(const HelperFacts& facts) {
    std::vector lines{lineOf("helper", inWords(facts)), lineOf("this build", facts.buildVersion)};
    if (isInstalled(facts.state)) {
        lines.push_back(lineOf(
            "installed", fmt::format("{}, {}", facts.installedVersion.value_or("version unknown"), comparison(facts))));
    }
    if (facts.isPackaged && facts.servedUser) {
        lines.push_back(lineOf("granted to", fmt::format("user {}", *facts.servedUser)));
    }
    if (facts.otherDefinition) {
        lines.push_back(lineOf("service", definitionInWords(facts)));
    }
    for (const auto& each : facts.overrides) {
        lines.push_back(lineOf(
            "override", fmt::format("{} for process {}", fmt::join(namesOf(each.scopes), ", "), each.owner.pid)));
    }
    if (facts.overridesError) {
        lines.push_back(lineOf("override", *facts.overridesError));
    } else if (facts.overrides.empty()) {
        lines.push_back(lineOf("override", "none"));
    }
    return lines;
}

Json helperReportJson(const HelperFacts& facts) {
    auto overrides = Json::array();
    for (const auto& each : facts.overrides) {
        overrides.push_back({{"pid", each.owner.pid}, {"scopes", namesOf(each.scopes)}});
    }
    return {{"state", rawValue(facts.state)},
            {"packaged", facts.isPackaged},
            {"servedUser", facts.servedUser ? Json(*facts.servedUser) : Json()},
            {"buildVersion", facts.buildVersion},
            {"installedVersion", facts.installedVersion ? Json(*facts.installedVersion) : Json()},
            {"matchesThisBuild", facts.matchesThisBuild && !facts.otherDefinition},
            {"overrides", overrides},
            {"overridesError", facts.overridesError ? Json(*facts.overridesError) : Json()}};
}

HelperCommand::HelperCommand(const Platform& platform, const TavoStoring& store)
    : platform(platform), store(store), support(platform.closedLidSupport()) {}

ExitStatus HelperCommand::carryOut(const HelperCommandOptions& options) const {
    if (options.action == HelperCommandOptions::Action::status) {
        return printStatus(options.json);
    }
    const InterruptedBySignals interrupted(platform.interruption);
    switch (options.action) {
    case HelperCommandOptions::Action::status:
        break;
    case HelperCommandOptions::Action::install:
        return install();
    case HelperCommandOptions::Action::uninstall:
        return uninstall();
    case HelperCommandOptions::Action::reset:
        return reset();
    }
    return ExitStatus::failure;
}

ExitStatus HelperCommand::printStatus(bool json) const {
    HelperFacts facts{.state = support.state(),
                      .buildVersion = std::string(tavoVersion),
                      .installedFile = platform.helperSetup->helperExecutable(),
                      .isPackaged = platform.helperSetup->isPackaged(),
                      .user = geteuid()};
    if (isInstalled(facts.state)) {
        facts.installedVersion = installedVersion(platform);
        facts.hasSource = platform.helperSource().has_value();
        facts.matchesThisBuild = support.matchesThisBuild();
        examineDefinition(*platform.helperSetup, facts);
    }
    try {
        facts.overrides = SleepOverrideJournal(platform.helperSetup->overrideJournal()).load().overrides;
    } catch (const std::exception& error) {
        facts.overridesError = errorText(error);
    }
    const Console console(stdout);
    if (json) {
        console.print(shownJson(helperReportJson(facts)));
        return ExitStatus::success;
    }
    for (const auto& line : helperReportLines(facts)) {
        console.print(visibleControls(line));
    }
    return ExitStatus::success;
}

ExitStatus HelperCommand::install() const {
    if (!platform.helperSource()) {
        printError("tavoctl: could not find the tavo helper executable in this build; install tavo again.\n");
        return ExitStatus::failure;
    }
    const auto state = support.install(store.paths());
    const bool isReady = state == PrivilegedHelperInstallState::ready;
    recordPermission(isReady);
    const auto* const done = isGrantedInPlace() ? "granted" : "installed";
    Console(stdout).print(
        isReady ? fmt::format("the helper is {} and answers; tavo may now keep awake with the lid closed.", done)
                : fmt::format("the helper is {}, but does not answer any more; see tavoctl helper status.", done));
    return isReady ? ExitStatus::success : ExitStatus::failure;
}

ExitStatus HelperCommand::uninstall() const {
    if (!support.hasFiles()) {
        recordPermission(false);
        Console(stdout).print(isGrantedInPlace() ? "the helper is not granted." : "the helper is not installed.");
        return ExitStatus::success;
    }
    support.uninstall(store.paths());
    recordPermission(false);
    if (support.hasFiles()) {
        printError("tavoctl: files of the helper are still there; see tavoctl helper status.\n");
        return ExitStatus::failure;
    }
    Console(stdout).print(fmt::format("the helper{}; tavo no longer keeps awake with the lid closed.",
                                      isGrantedInPlace() ? "'s grant is revoked" : " is removed"));
    return ExitStatus::success;
}

ExitStatus HelperCommand::reset() const {
    const auto state = support.state();
    if (state == PrivilegedHelperInstallState::notInstalled) {
        printError("tavoctl: the helper is not {}, so there is nothing to reset.\n",
                   isGrantedInPlace() ? "granted" : "installed");
        return ExitStatus::failure;
    }
    if (state != PrivilegedHelperInstallState::ready || !support.matchesThisBuild()) {
        printError("tavoctl: the helper {}, so it is not trusted to remove {}; tavoctl helper uninstall removes it "
                   "with an administrator's approval.\n",
                   state == PrivilegedHelperInstallState::ready ? "is not the one of this build" : "does not answer",
                   isGrantedInPlace() ? "its grant" : "itself");
        return ExitStatus::failure;
    }
    const bool isGone = support.reset();
    recordPermission(false);
    if (!isGone) {
        printError("tavoctl: closed-lid support could not be fully reset; see tavoctl helper status.\n");
        return ExitStatus::failure;
    }
    Console(stdout).print(fmt::format("the helper has removed {}; tavo no longer keeps awake with the lid closed.",
                                      isGrantedInPlace() ? "its grant" : "itself"));
    return ExitStatus::success;
}

/// Whether the use of a helper is granted here, and none is installed.
bool HelperCommand::isGrantedInPlace() const {
    return platform.helperSetup->isPackaged();
}

/// Saves it for the settings window, and tells a running Tavo.
void HelperCommand::recordPermission(bool granted) const {
    if (actsForAnotherUser()) {
        printError("tavoctl: the configuration of the user who called sudo is left as it is.\n");
        return;
    }
    try {
        auto config = store.loadConfig();
        if (config.closedLidPermissionGranted != granted) {
            config.closedLidPermissionGranted = granted;
            store.saveConfig(config);
        }
    } catch (const std::exception& error) {
        printError("tavoctl: config.json was left as it is: {}\n", visibleControls(errorText(error)));
    }
    tellRunningTavo(store);
}

} // namespace tavo
