#include "helper/linux/PackagedServiceSetup.h"

#include "base/UserID.h"
#include "helper/PrivilegedHelperInstaller.h"
#include "helper/linux/DeferredRemoval.h"
#include "helper/linux/MissingSystemd.h"
#include "helper/linux/SystemdServiceSetup.h"

#include <fmt/format.h>
#include <unistd.h>

namespace tavo {

namespace {

constexpr std::string_view grantHead = "# Written by Tavo's helper: this user may keep the computer awake with its lid "
                                       "closed; see tavoctl helper.\n"
                                       "[Socket]\n"
                                       "SocketUser=";

std::filesystem::path resolved(const std::filesystem::path& path) {
    std::error_code ignored; // a path that leads nowhere is not the package's
    return std::filesystem::canonical(path, ignored);
}

bool isThere(const std::filesystem::path& path) {
    std::error_code ignored; // a path that cannot be read does not exist for the caller
    return std::filesystem::exists(path, ignored);
}

} // namespace

std::string HelperGrantFile::contentFor(uid_t user) {
    return fmt::format("{}{}\n", grantHead, user);
}

std::optional<uid_t> HelperGrantFile::userIn(std::string_view content) {
    if (!content.starts_with(grantHead) || !content.ends_with('\n')) {
        return std::nullopt;
    }
    return parseUserID(content.substr(grantHead.size(), content.size() - grantHead.size() - 1));
}

std::string PackagedServiceSetup::serviceDefinitionContent() const {
    return HelperGrantFile::contentFor(geteuid());
}

bool PackagedServiceSetup::isOwnDefinition(const std::string& content) const {
    return servedUser(content).has_value();
}

std::optional<uid_t> PackagedServiceSetup::servedUser(const std::string& definition) const {
    return HelperGrantFile::userIn(definition);
}

std::filesystem::path PackagedServiceSetup::makeStagingDirectory(const TavoPaths&) const {
    return {};
}

ShellCommand PackagedServiceSetup::installCommand(const std::filesystem::path&, const std::filesystem::path&) const {
    if (!isThere(layout.systemdMark)) {
        throw PrivilegedHelperInstallerError::installFailed(MissingSystemd::forInstallation());
    }
    return {.executableURL = layout.helperExecutable, .arguments = {"--grant"}, .requiresPrivilege = true};
}

ShellCommand PackagedServiceSetup::uninstallCommand() const {
    if (!isThere(layout.helperExecutable)) {
        throw PrivilegedHelperInstallerError::uninstallFailed(
            fmt::format("{} has gone, which would revoke the grant; install tavo's package again, or remove {} as root "
                        "and restart the computer.",
                        layout.helperExecutable.string(), layout.grant.string()));
    }
    return {.executableURL = layout.helperExecutable, .arguments = {"--revoke"}, .requiresPrivilege = true};
}

ShellCommand PackagedServiceSetup::deferredUninstallCommand(std::int64_t delaySeconds) const {
    return deferredRemoval(
        fmt::format("sleep {}\nexec {} --revoke", delaySeconds, shellQuoted(layout.helperExecutable.string())));
}

std::shared_ptr<const HelperServiceSetup> helperServiceSetup(const std::optional<std::filesystem::path>& companion,
                                                             const PackagedHelperLayout& layout) {
    if (companion && resolved(*companion) == layout.helperExecutable && isThere(layout.socketUnit)) {
        return std::make_shared<PackagedServiceSetup>(layout);
    }
    return std::make_shared<SystemdServiceSetup>();
}

} // namespace tavo
