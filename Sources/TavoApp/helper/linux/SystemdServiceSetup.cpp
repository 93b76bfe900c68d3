#include "helper/linux/SystemdServiceSetup.h"

#include "HelperUnit.h"
#include "base/UserID.h"
#include "helper/PrivilegedHelperInstaller.h"
#include "helper/linux/DeferredRemoval.h"
#include "helper/linux/FileDigest.h"
#include "helper/linux/MissingSystemd.h"
#include "system/CommandRunning.h"
#include "system/linux/UnitText.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

constexpr std::string_view executableField = "@helperExecutable@";

// Written apart from the unit's text, so that the script that fills it in does not hold the field itself.
constexpr std::string_view userField = "@installingUser@";

constexpr std::string_view userOption = " --user ";

std::string quoted(const std::filesystem::path& path) {
    return shellQuoted(path.string());
}

std::string replaced(std::string text, std::string_view field, const std::string& value) {
    for (auto start = text.find(field); start != std::string::npos; start = text.find(field, start + value.size())) {
        text.replace(start, field.size(), value);
    }
    return text;
}

/// The name of a temporary file beside its target. Predictable, because only root may write there.
std::string temporaryLine(const char* variable, const std::filesystem::path& target) {
    return fmt::format("{}={}.$$\n", variable, quoted(target.parent_path() / ".tavo-install"));
}

/// Removes temporary files whose installation was killed; one that is under way keeps its own.
std::string cleanupLines(const std::filesystem::path& folder) {
    return fmt::format("for left in {}.*; do\n"
                       "    kill -0 \"${{left##*.}}\" 2>/dev/null || rm -f \"$left\"\n"
                       "done\n",
                       quoted(folder / ".tavo-install"));
}

/// Makes the temporary file a copy of `source`, and compares it. Whatever takes the source's place meanwhile, a pipe or
/// an endless device, copying ends, and fills no disk.
std::string copyLines(const char* variable, const std::filesystem::path& source, std::uintmax_t size,
                      const std::string& digest) {
    const auto name = source.string();
    return fmt::format(
        "[ -f {1} ] || refuse {4}\n"
        "timeout 60 dd if={1} of=\"${0}\" iflag=nonblock,fullblock,count_bytes bs=65536 count={2} status=none\n"
        "echo \"{3}  ${0}\" | sha256sum --check --status ||\n"
        "    refuse {5}\n",
        variable, quoted(source), size + 1, digest,
        shellQuoted(fmt::format("{} is no regular file; nothing was installed.", name)),
        shellQuoted(fmt::format("{} has changed since the installation was asked for; nothing was "
                                "installed. ask again if you trust what is there now.",
                                name)));
}

/// Shell functions: refuse MESSAGE, and onlyRoots PATH, which refuses unless root alone may change what PATH leads to.
constexpr std::string_view installFunctions = R"sh(refuse() {
    echo "$1" >&2
    exit 1
}
onlyRoots() {
    [ "$1" = / ] || onlyRoots "$(dirname "$1")"
    if [ -L "$1" ]; then
        [ -e "$1" ] || refuse "$1 is a link that leads nowhere; nothing was installed."
        target=$(readlink "$1")
        target=${target%"${target##*[!/]}"}
        case $target in
            /*) onlyRoots "$target" ;;
            *) onlyRoots "$(dirname "$1")/$target" ;;
        esac
    fi
    [ -e "$1" ] || return 0
    case $(stat -L -c %u:%A "$1") in
        0:?????-??-?) ;;
        *) refuse "somebody else than root may write to $1, from where the helper would be run as root; nothing was \
installed. make it root's alone (chown root, chmod go-w), then ask again." ;;
    esac
}
)sh";

} // namespace

std::string SystemdServiceSetup::serviceDefinitionContent() const {
    return replaced(std::string(helperUnit), executableField, unitWord(layout.helperExecutable));
}

bool SystemdServiceSetup::isOwnDefinition(const std::string& content) const {
    const auto user = servedUser(content);
    return user && content == replaced(serviceDefinitionContent(), userField, std::to_string(*user));
}

std::optional<uid_t> SystemdServiceSetup::servedUser(const std::string& definition) const {
    const auto option = definition.find(userOption);
    if (option == std::string::npos) {
        return std::nullopt;
    }
    const auto start = option + userOption.size();
    const auto end = definition.find('\n', start);
    return end == std::string::npos ? std::nullopt
                                    : parseUserID(std::string_view(definition).substr(start, end - start));
}

std::filesystem::path SystemdServiceSetup::makeStagingDirectory(const TavoPaths&) const {
    // The environment of root may name another user's folder.
    const auto folder = geteuid() == 0 ? std::filesystem::path("/tmp") : std::filesystem::temp_directory_path();
    auto staging = (folder / "tavo-helper-XXXXXX").string();
    if (mkdtemp(staging.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "could not make a folder in " + folder.string());
    }
    return staging;
}

std::string SystemdServiceSetup::prologue() const {
    return fmt::format("set -e\nPATH={}\nexport PATH\n", shellQuoted(layout.searchPath));
}

std::string SystemdServiceSetup::installScript(const std::filesystem::path& source,
                                               const std::filesystem::path& stagedDefinition) const {
    if (!std::filesystem::exists(layout.systemdMark)) {
        throw PrivilegedHelperInstallerError::installFailed(MissingSystemd::forInstallation());
    }
    const auto definition = serviceDefinitionContent();
    return prologue() + "umask 077\n" + temporaryLine("helper", layout.helperExecutable) +
           temporaryLine("unit", layout.unitFile) +
           // A shell that a signal ends does not run its exit trap.
           "trap 'rm -f \"$helper\" \"$unit\"' EXIT\n"
           "trap 'exit 129' HUP\n"
           "trap 'exit 130' INT\n"
           "trap 'exit 143' TERM\n" +
           std::string(installFunctions) +
           "user=${PKEXEC_UID:-${SUDO_UID:-0}}\n"
           "case $user in\n"
           "    *[!0-9]*) refuse \"the user to serve is not known: '$user' is no user id.\" ;;\n"
           "esac\n" +
           fmt::format("onlyRoots {0}\nonlyRoots {1}\nmkdir -p -m 755 {0} {1}\n",
                       quoted(layout.helperExecutable.parent_path()), quoted(layout.unitFile.parent_path())) +
           cleanupLines(layout.helperExecutable.parent_path()) + cleanupLines(layout.unitFile.parent_path()) +
           copyLines("helper", source, std::filesystem::file_size(source), sha256OfFile(source)) +
           copyLines("unit", stagedDefinition, definition.size(), sha256(definition)) +
           fmt::format("sed -i \"s/{}/$user/\" \"$unit\"\n", userField) +
           "chown 0:0 \"$helper\" \"$unit\"\n"
           "chmod 755 \"$helper\"\n"
           "chmod 644 \"$unit\"\n" +
           // It would remove what is installed now.
           fmt::format(
               "systemctl stop {0} >/dev/null 2>&1 || true\n"
               "! systemctl is-active --quiet {0} ||\n"
               "    refuse 'a removal of the helper is under way and does not end; ask again in two minutes.'\n",
               removalUnitName) +
           fmt::format("mv -f \"$helper\" {0}\n"
                       "mv -f \"$unit\" {1}\n"
                       "if command -v restorecon >/dev/null; then\n"
                       "    restorecon {0} {1}\n"
                       "fi\n"
                       "systemctl daemon-reload\n"
                       "{3}"
                       "systemctl --quiet enable {2}\n"
                       "systemctl restart {2}",
                       quoted(layout.helperExecutable), quoted(layout.unitFile), unitName, packageRevocationLines());
}

/// The socket ends once its service is another one: with its own service it would end the overrides.
std::string SystemdServiceSetup::packageRevocationLines() const {
    return fmt::format("if [ -e {0} ] || [ -e {1} ]; then\n"
                       "    systemctl --quiet disable --now {2} || true\n"
                       "    rm -f {1}\n"
                       "    rmdir {3} 2>/dev/null || true\n"
                       "fi\n",
                       quoted(layout.packagedSocketUnit), quoted(layout.grant),
                       layout.packagedSocketUnit.filename().string(), quoted(layout.grant.parent_path()));
}

std::string SystemdServiceSetup::removalLines() const {
    // A helper that cannot run any more has ended no override.
    return fmt::format("systemctl disable --now {2} >/dev/null 2>&1 || true\n"
                       "if [ -e {3} ]; then\n"
                       "    rm -f {3}\n"
                       "    systemctl kill --signal=HUP systemd-logind.service || true\n"
                       "fi\n"
                       "rm -f {1}\n"
                       "rm -f {0}\n"
                       "systemctl daemon-reload\n"
                       "systemctl reset-failed {2} >/dev/null 2>&1 || true",
                       quoted(layout.helperExecutable), quoted(layout.unitFile), unitName, quoted(layout.lidDropIn));
}

std::string SystemdServiceSetup::uninstallScript() const {
    if (!std::filesystem::exists(layout.systemdMark)) {
        throw PrivilegedHelperInstallerError::uninstallFailed(MissingSystemd::forRemoval());
    }
    return prologue() + removalLines();
}

ShellCommand SystemdServiceSetup::deferredUninstallCommand(std::int64_t delaySeconds) const {
    return deferredRemoval(fmt::format("sleep {}\n{}{}", delaySeconds, prologue(), removalLines()));
}

} // namespace tavo
