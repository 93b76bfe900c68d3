#include "helper/macos/LaunchDaemonSetup.h"

#include "base/AtomicFile.h"
#include "helper/PrivilegedHelperMessages.h"
#include "helper/macos/InstalledFilesCheck.h"
#include "system/CommandRunning.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tavo {

namespace {

std::string serviceTarget() {
    return fmt::format("system/{}", PrivilegedHelperConstants::launchDaemonLabel);
}

std::string joinedLines(const std::vector<std::string>& lines) {
    return fmt::format("{}", fmt::join(lines, "\n"));
}

std::string bootOutLine() {
    return fmt::format("/bin/launchctl bootout {} >/dev/null 2>&1 || true", serviceTarget());
}

std::string quoted(const std::filesystem::path& path) {
    return shellQuoted(path.string());
}

} // namespace

const PrivilegedHelperInstallLayout& PrivilegedHelperInstallLayout::systemDefault() {
    static const PrivilegedHelperInstallLayout layout{
        .helperExecutableURL =
            std::filesystem::path("/Library/PrivilegedHelperTools") / PrivilegedHelperConstants::helperExecutableName,
        .launchDaemonPlistURL =
            std::filesystem::path("/Library/LaunchDaemons") / PrivilegedHelperConstants::launchDaemonPlistName};
    return layout;
}

std::vector<std::string> uninstallCommandLines(const PrivilegedHelperInstallLayout& layout) {
    return {bootOutLine(), "/bin/rm -f " + quoted(layout.launchDaemonPlistURL),
            "/bin/rm -f " + quoted(layout.helperExecutableURL)};
}

PropertyListValue PrivilegedHelperLaunchDaemonDefinition::propertyList() const {
    using Array = PropertyListValue::Array;
    using Dictionary = PropertyListValue::Dictionary;
    return Dictionary{{"Label", label},
                      {"ProgramArguments", Array{executablePath}},
                      {"MachServices", Dictionary{{machServiceName, true}}},
                      {"RunAtLoad", true},
                      {"KeepAlive", true}};
}

std::string LaunchDaemonSetup::serviceDefinitionContent() const {
    const PrivilegedHelperLaunchDaemonDefinition definition{
        .label = std::string(PrivilegedHelperConstants::launchDaemonLabel),
        .machServiceName = std::string(PrivilegedHelperConstants::machServiceName),
        .executablePath = layout.helperExecutableURL.string()};
    return propertyListXML(definition.propertyList());
}

std::filesystem::path LaunchDaemonSetup::makeStagingDirectory(const TavoPaths& paths) const {
    const auto staging = paths.rootDirectory / "helper-installer";
    ensureDirectoryExists(staging);
    return staging;
}

std::string LaunchDaemonSetup::installScript(const std::filesystem::path& source,
                                             const std::filesystem::path& stagedDefinition) const {
    const auto helper = quoted(layout.helperExecutableURL);
    const auto plist = quoted(layout.launchDaemonPlistURL);
    return joinedLines({
        "set -e",
        bootOutLine(),
        fmt::format("/bin/launchctl enable {} >/dev/null 2>&1 || true", serviceTarget()),
        fmt::format("/bin/mkdir -p {} {}", quoted(layout.helperExecutableURL.parent_path()),
                    quoted(layout.launchDaemonPlistURL.parent_path())),
        fmt::format("/usr/bin/install -m 755 {} {}", quoted(source), helper),
        fmt::format("/usr/sbin/chown root:wheel {}", helper),
        fmt::format("/usr/bin/install -m 644 {} {}", quoted(stagedDefinition), plist),
        fmt::format("/usr/sbin/chown root:wheel {}", plist),
        fmt::format("/bin/launchctl bootstrap system {}", plist),
        fmt::format("/bin/launchctl kickstart -k {}", serviceTarget()),
    });
}

HelperServiceSetup::InstallationCheck LaunchDaemonSetup::installationCheck(const std::filesystem::path& source) const {
    const auto plist = quoted(layout.launchDaemonPlistURL);
    // By its file: a foreign property list may name another job.
    const auto removal = fmt::format("sudo /bin/launchctl bootout system {0}; sudo /bin/rm -f {0} {1}", plist,
                                     quoted(layout.helperExecutableURL));
    const InstalledFilesCheck check({{layout.helperExecutableURL, readWholeFile(source)},
                                     {layout.launchDaemonPlistURL, serviceDefinitionContent()}},
                                    removal);
    return [check](bool hasSucceeded) { check.verify(hasSucceeded); };
}

bool LaunchDaemonSetup::waitsForEarlierService(const ShellCommandResult& failure, CommandRunning& runner,
                                               const Sleeper& sleeper) const {
    if (!saysThatLaunchdRefusedToLoad(failure.standardError)) {
        return false;
    }
    waitUntilLaunchdForgets(serviceTarget(), runner, sleeper);
    return true;
}

std::string LaunchDaemonSetup::uninstallScript() const {
    return "set -e\n" + joinedLines(uninstallCommandLines(layout));
}

std::string LaunchDaemonSetup::deferredUninstallScript(std::int64_t delaySeconds) const {
    // The service ends first: a file that cannot be removed leaves no half-removed service running.
    return fmt::format("(\n/bin/sleep {}\nset -e\n{}\n) >/dev/null 2>&1 &", delaySeconds,
                       joinedLines(uninstallCommandLines(layout)));
}

ShellCommand LaunchDaemonSetup::deferredUninstallCommand(std::int64_t delaySeconds) const {
    return {.executableURL = "/bin/sh",
            .arguments = {"-c", deferredUninstallScript(delaySeconds)},
            .startsOwnProcessGroup = true};
}

} // namespace tavo
