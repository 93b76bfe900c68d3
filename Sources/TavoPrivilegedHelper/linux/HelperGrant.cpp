#include "TavoPrivilegedHelper/linux/HelperGrant.h"

#include "base/AtomicFile.h"
#include "base/UserID.h"
#include "helper/linux/DeferredRemoval.h"
#include "helper/linux/MissingSystemd.h"

#include <fmt/format.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>
#include <functional>
#include <string_view>
#include <system_error>

namespace tavo {

namespace {

constexpr const char* serviceUnit = SystemdServiceSetup::unitName.data();
constexpr mode_t readableByAll = 0644;
constexpr mode_t usableByAll = 0755;

/// A link that leads nowhere is there, too.
bool isThere(const std::filesystem::path& path) {
    std::error_code ignored; // a path that cannot be read does not exist for the caller
    return std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
}

/// Makes a folder for all to read, or checks that the one there is root's alone, and no link.
void requireOwnFolder(const std::filesystem::path& folder) {
    if (mkdir(folder.c_str(), usableByAll) == 0) {
        chmod(folder.c_str(), usableByAll); // whatever the process's mask
        return;
    }
    if (errno != EEXIST) {
        throw std::system_error(errno, std::generic_category(), "could not make the folder " + folder.string());
    }
    struct stat status {};
    if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != geteuid() ||
        (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        throw HelperGrantError(fmt::format(
            "{} is not a folder that root alone may change; nothing was granted. remove it, then ask again.",
            folder.string()));
    }
}

/// One that is not root's own keeps its owner when it is replaced, and a link would be followed.
void removeUnlessOwnFile(const std::filesystem::path& file) {
    struct stat status {};
    if (lstat(file.c_str(), &status) == 0 && (!S_ISREG(status.st_mode) || status.st_uid != geteuid())) {
        std::filesystem::remove(file);
    }
}

/// Runs every step, and throws the first failure when all have been tried.
class AllSteps {
public:
    void take(const std::function<void()>& step) {
        try {
            step();
        } catch (const std::exception&) {
            failure = failure ? failure : std::current_exception();
        }
    }

    void finish() const {
        if (failure) {
            std::rethrow_exception(failure);
        }
    }

private:
    std::exception_ptr failure;
};

} // namespace

bool HelperGrant::isInUserDatabase(uid_t user) {
    std::array<char, 16384> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    return getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr;
}

uid_t HelperGrant::userToServe(const char* pkexecUser, const char* sudoUser) {
    std::string_view text = pkexecUser == nullptr ? "" : pkexecUser;
    if (text.empty() && sudoUser != nullptr) {
        text = sudoUser;
    }
    if (text.empty()) {
        return 0;
    }
    const auto user = parseUserID(text);
    if (!user) {
        throw HelperGrantError(fmt::format("the user to serve is not known: '{}' is no user id.", text));
    }
    return *user;
}

void HelperGrant::grant(uid_t user, const std::filesystem::path& program) const {
    requirePackage(program);
    requireKnown(user);
    requireUnmasked(serviceUnit);
    requireUnmasked(socketUnit);
    endPendingRemoval();
    const auto earlier = readGrant();
    const bool wasOtherInstalled = isOtherInstalled();
    try {
        writeGrant(HelperGrantFile::contentFor(user));
        removeOtherUnit();
        listenFor(user);
    } catch (const std::exception& error) {
        restore(earlier);
        if (wasOtherInstalled && !isOtherInstalled()) {
            throw HelperGrantError(
                fmt::format("{} was removed, which had another helper run, but this one could not be granted: {}",
                            layout.otherInstallation.unitFile.string(), error.what()));
        }
        throw;
    }
    std::error_code ignored; // nothing starts it any more
    std::filesystem::remove(layout.otherInstallation.helperExecutable, ignored);
}

void HelperGrant::revoke() const {
    const bool runs = doesSystemdRun();
    const bool isOther = isOtherInstalled();
    AllSteps steps;
    if (runs) {
        // No longer listened for first: a caller could have the helper started again.
        steps.take([&] { require({"--quiet", "disable", "--now", socketUnit}, "could not stop listening"); });
        if (!isOther) {
            steps.take([&] { require({"stop", serviceUnit}, "could not stop the helper"); });
        }
    }
    steps.take([&] { std::filesystem::remove(layout.enablement); });
    if (!isOther) {
        steps.take([&] { endLeftoverOverride(); });
        steps.take([&] { std::filesystem::remove(layout.overrideJournal); });
    }
    steps.take([&] { removeGrant(); });
    if (runs) {
        steps.take([&] { require({"daemon-reload"}, "could not tell the service manager"); });
        systemctl({"reset-failed", socketUnit, serviceUnit}); // there is nothing to reset, as a rule
    }
    steps.finish();
}

void HelperGrant::requirePackage(const std::filesystem::path& program) const {
    if (!doesSystemdRun()) {
        throw HelperGrantError(MissingSystemd::forInstallation());
    }
    if (program != layout.package.helperExecutable || !isThere(layout.package.socketUnit)) {
        throw HelperGrantError(fmt::format("{} is not the helper of an installed package, and only that can be "
                                           "granted; install this one with tavoctl helper install.",
                                           program.string()));
    }
}

/// The manager would not make a socket for anybody else.
void HelperGrant::requireKnown(uid_t user) const {
    if (!layout.isKnownUser(user)) {
        throw HelperGrantError(fmt::format("user {} is not known to this computer; nothing was granted.", user));
    }
}

void HelperGrant::requireUnmasked(const char* unit) const {
    const auto state = systemctl({"is-enabled", unit}).standardOutput;
    if (state.starts_with("masked")) {
        throw HelperGrantError(
            fmt::format("{0} is masked on this computer; nothing was granted. systemctl unmask {1}{0} allows it again.",
                        unit, state.starts_with("masked-runtime") ? "--runtime " : ""));
    }
}

/// It would remove what is granted now.
void HelperGrant::endPendingRemoval() const {
    systemctl({"stop", removalUnitName.data()}); // as a rule there is none
    if (systemctl({"is-active", "--quiet", removalUnitName.data()}).exitCode == 0) {
        throw HelperGrantError("a removal of the helper is under way and does not end; ask again in two minutes.");
    }
}

std::optional<std::string> HelperGrant::readGrant() const {
    try {
        return readWholeFile(layout.package.grant);
    } catch (const std::system_error&) {
        return std::nullopt; // what cannot be read cannot be put back, and grants nothing
    }
}

void HelperGrant::writeGrant(const std::string& content) const {
    requireOwnFolder(layout.package.grant.parent_path());
    removeUnlessOwnFile(layout.package.grant);
    replaceFileAtomically(layout.package.grant, content, readableByAll);
}

void HelperGrant::removeGrant() const {
    std::filesystem::remove(layout.package.grant);
    std::error_code ignored; // an administrator's own drop-ins stay, with the folder
    std::filesystem::remove(layout.package.grant.parent_path(), ignored);
}

/// The failure that led here is the one to be reported.
void HelperGrant::restore(const std::optional<std::string>& earlier) const noexcept {
    AllSteps steps;
    bool isGranted = false;
    if (earlier) {
        steps.take([&] {
            writeGrant(*earlier);
            isGranted = true;
        });
    }
    if (!isGranted) {
        steps.take([&] { systemctl({"--quiet", "disable", "--now", socketUnit}); });
        steps.take([&] { removeGrant(); });
    }
    steps.take([&] { systemctl({"daemon-reload"}); });
    steps.take([&] { systemctl({"reset-failed", socketUnit}); });
    steps.take([&] {
        // One that listens may do so for the refused user, and a start would leave it as it is. While the earlier user
        // is still listened for, nothing is stopped: that would end the overrides.
        const auto user = isGranted ? HelperGrantFile::userIn(*earlier) : std::nullopt;
        if (!user || !isListeningFor(*user)) {
            stopListening();
        }
    });
    if (isGranted) {
        steps.take([&] { systemctl({"start", socketUnit}); });
    }
}

/// Before the system listens: while it is there, it is what the socket would start.
void HelperGrant::removeOtherUnit() const {
    if (isOtherInstalled()) {
        systemctl({"disable", "--now", serviceUnit}); // fails for one that was never enabled
        std::filesystem::remove(layout.otherInstallation.unitFile);
        endLeftoverOverride();
    }
}

/// A helper that cannot run any more has ended no override.
void HelperGrant::endLeftoverOverride() const {
    if (std::filesystem::remove(layout.otherInstallation.lidDropIn) && doesSystemdRun()) {
        require({"kill", "--signal=HUP", "systemd-logind.service"}, "could not tell logind that an override has ended");
    }
}

void HelperGrant::listenFor(uid_t user) const {
    require({"daemon-reload"}, "could not tell the service manager of the grant");
    systemctl({"reset-failed", socketUnit, serviceUnit}); // there is nothing to reset, as a rule
    // Before anything is stopped: a failure costs an earlier user nothing.
    require({"--quiet", "enable", socketUnit}, "could not have the system listen for the helper");
    if (!isListeningFor(user)) {
        stopListening();
    }
    // The manager has to know the user, as it has to at every start of the computer.
    require({"start", socketUnit}, fmt::format("could not listen for user {}", user));
    // One that does not answer is replaced. Its overrides are taken over.
    require({"try-restart", serviceUnit}, "could not restart the helper");
    if (!isListeningFor(user)) {
        throw HelperGrantError(
            fmt::format("the system does not listen for user {}; see systemctl status {}.", user, socketUnit));
    }
}

/// With the service, since a socket is not started while it runs, and the overrides of whoever was served end so.
void HelperGrant::stopListening() const {
    if (isOtherInstalled()) { // a service of the same name that is not the socket's
        systemctl({"stop", socketUnit});
    } else {
        systemctl({"stop", socketUnit, serviceUnit});
    }
}

bool HelperGrant::isListeningFor(uid_t user) const {
    struct stat status {};
    return lstat(layout.socket.c_str(), &status) == 0 && S_ISSOCK(status.st_mode) && status.st_uid == user &&
           systemctl({"is-active", "--quiet", socketUnit}).exitCode == 0;
}

bool HelperGrant::isOtherInstalled() const {
    return isThere(layout.otherInstallation.unitFile);
}

bool HelperGrant::doesSystemdRun() const {
    return isThere(layout.package.systemdMark);
}

ShellCommandResult HelperGrant::systemctl(Arguments arguments) const {
    return runner->run({.executableURL = "/usr/bin/systemctl", .arguments = {arguments.begin(), arguments.end()}});
}

void HelperGrant::require(Arguments arguments, const std::string& purpose) const {
    const auto result = systemctl(arguments);
    if (result.exitCode != 0) {
        throw HelperGrantError(fmt::format("{}: {}", purpose,
                                           result.standardError.empty()
                                               ? fmt::format("systemctl returned {}.", result.exitCode)
                                               : result.standardError));
    }
}

} // namespace tavo
