#include "helper/linux/SystemdServiceSetup.h"

#include "HelperUnit.h"
#include "helper/PrivilegedHelperInstallerError.h"
#include "helper/linux/FileDigest.h"
#include "system/ShellQuoting.h"

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

// Spelt apart from the unit's text, so that the script that fills it in is no place to be filled in itself.
constexpr std::string_view userField = "@installingUser@";

std::string quoted(const std::filesystem::path& path) {
    return shellQuoted(path.string());
}

std::string replaced(std::string text, std::string_view field, const std::string& value) {
    for (auto start = text.find(field); start != std::string::npos; start = text.find(field, start + value.size())) {
        text.replace(start, field.size(), value);
    }
    return text;
}

/// A path as one word of ExecStart=, systemd.service(5), "Command lines", and systemd.unit(5), "Specifiers".
std::string unitWord(const std::filesystem::path& path) {
    std::string word = "\"";
    for (const char character : path.string()) {
        if (character == '"' || character == '\\') {
            word += '\\';
        } else if (character == '%' || character == '$') {
            word += character;
        }
        word += character;
    }
    return word + '"';
}

/// A temporary file of root's own beside its target, which goes with the script, made a copy of `source` and compared.
std::string copyLines(const char* variable, const std::filesystem::path& source, const std::filesystem::path& target,
                      const std::string& digest) {
    return fmt::format("{0}=$(mktemp {1})\n"
                       "cat {2} >\"${0}\"\n"
                       "echo \"{3}  ${0}\" | sha256sum --check --status ||\n"
                       "    refuse {4}\n",
                       variable, quoted(target.parent_path() / ".tavo-install.XXXXXX"), quoted(source), digest,
                       shellQuoted(fmt::format("{} has changed since the installation was asked for; nothing was "
                                               "installed. ask again if you trust what is there now.",
                                               source.string())));
}

} // namespace

std::string SystemdServiceSetup::serviceDefinitionContent() const {
    return replaced(std::string(helperUnit), executableField, unitWord(layout.helperExecutable));
}

std::filesystem::path SystemdServiceSetup::makeStagingDirectory(const TavoPaths&) const {
    // Whatever the environment of root says may be another user's.
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
        throw PrivilegedHelperInstallerError::installFailed(
            "the privileged helper is a service of systemd, which does not run this system; keeping awake with the lid "
            "closed is not possible here.");
    }
    return prologue() +
           "umask 077\n"
           "helper=\n"
           "unit=\n"
           "trap 'rm -f \"$helper\" \"$unit\"' EXIT\n"
           "refuse() {\n"
           "    echo \"$1\" >&2\n"
           "    exit 1\n"
           "}\n"
           "user=${PKEXEC_UID:-${SUDO_UID:-0}}\n"
           "case $user in\n"
           "    *[!0-9]*) refuse \"the user to serve is not known: '$user' is no user id.\" ;;\n"
           "esac\n" +
           fmt::format("mkdir -p -m 755 {} {}\n", quoted(layout.helperExecutable.parent_path()),
                       quoted(layout.unitFile.parent_path())) +
           copyLines("helper", source, layout.helperExecutable, sha256OfFile(source)) +
           copyLines("unit", stagedDefinition, layout.unitFile, sha256(serviceDefinitionContent())) +
           fmt::format("sed -i \"s/{}/$user/\" \"$unit\"\n", userField) +
           "chown 0:0 \"$helper\" \"$unit\"\n"
           "chmod 755 \"$helper\"\n"
           "chmod 644 \"$unit\"\n" +
           fmt::format("mv -f \"$helper\" {0}\n"
                       "mv -f \"$unit\" {1}\n"
                       "if command -v restorecon >/dev/null; then\n"
                       "    restorecon {0} {1}\n"
                       "fi\n"
                       "systemctl daemon-reload\n"
                       "systemctl --quiet enable {2}\n"
                       "systemctl restart {2}",
                       quoted(layout.helperExecutable), quoted(layout.unitFile), unitName);
}

std::string SystemdServiceSetup::removalLines() const {
    // A helper that cannot run any more has undone nothing.
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
        throw PrivilegedHelperInstallerError::uninstallFailed(
            "the privileged helper is a service of systemd, which does not run this system.");
    }
    return prologue() + removalLines();
}

ShellCommand SystemdServiceSetup::deferredUninstallCommand(std::int64_t delaySeconds) const {
    const auto script = fmt::format("sleep {}\n{}{}", delaySeconds, prologue(), removalLines());
    return {.executableURL = "/usr/bin/systemd-run",
            .arguments = {"--quiet", "--collect", "--no-block", "--description=Removes the helper of Tavo", "--",
                          "/bin/sh", "-c", script}};
}

} // namespace tavo
