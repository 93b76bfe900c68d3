#pragma once

#include "base/DescribedError.h"
#include "helper/linux/PackagedServiceSetup.h"
#include "helper/linux/SystemdServiceSetup.h"
#include "system/CommandRunning.h"

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>

namespace tavo {

/// The use of the helper could not be granted or revoked.
class HelperGrantError final : public DescribedError {
public:
    using DescribedError::DescribedError;
};

/// Root's part of granting one user the use of a packaged helper, and of revoking that.
///
/// The one grant decides alone: while there is none, the system does not listen for the helper.
class HelperGrant {
public:
    static constexpr const char* socketUnit = "com.vrd.tavo.helper.socket";

    /// getpwuid(3).
    static bool isInUserDatabase(uid_t user);

    struct Layout {
        PackagedHelperLayout package = {};

        /// An installation of a build's own helper, which would take the packaged one's place.
        SystemdHelperLayout otherInstallation = {};

        /// The link by which the system starts the socket, systemctl(1), enable.
        std::filesystem::path enablement = "/etc/systemd/system/sockets.target.wants/com.vrd.tavo.helper.socket";

        std::filesystem::path socket = HelperLocations::socket();
        std::filesystem::path overrideJournal = HelperLocations::overrideJournal();

        std::function<bool(uid_t)> isKnownUser = isInUserDatabase;
    };

    explicit HelperGrant(std::shared_ptr<CommandRunning> runner) : HelperGrant(std::move(runner), Layout()) {}
    HelperGrant(std::shared_ptr<CommandRunning> runner, Layout layout)
        : runner(std::move(runner)), layout(std::move(layout)) {}

    /// The user who asks for a grant, by the word of pkexec(1) or else sudo(8); root when neither was used.
    /// @param pkexecUser  PKEXEC_UID, null when unset. @param sudoUser  SUDO_UID, likewise.
    /// @throws HelperGrantError when that is no user id.
    static uid_t userToServe(const char* pkexecUser, const char* sudoUser);

    /// Grants the use to this user alone, removes an installation of another helper, and has the system listen. A
    /// running helper is replaced; its overrides stay in force when it was this user's already.
    ///
    /// The unit of another installation goes before the system listens, since it hides the packaged one. Unknown users
    /// and masked units are found before that. Its program goes last.
    /// @param program  the running program's file.
    /// @throws HelperGrantError, std::system_error, UntrustedPathError. The earlier grant is in force then, or none; the
    /// error says so when another installation's unit is gone.
    void grant(uid_t user, const std::filesystem::path& program) const;

    /// Ends every override and the helper, and removes the grant. Does as much as it can when a part fails. Leaves an
    /// installation of another helper alone. @throws HelperGrantError, std::system_error
    void revoke() const;

private:
    using Arguments = std::initializer_list<const char*>;

    void requirePackage(const std::filesystem::path& program) const;
    void requireKnown(uid_t user) const;
    void requireUnmasked(const char* unit) const;
    void endPendingRemoval() const;
    std::optional<std::string> readGrant() const;
    void writeGrant(const std::string& content) const;
    void removeGrant() const;
    void restore(const std::optional<std::string>& earlier) const noexcept;
    void removeOtherUnit() const;
    void endLeftoverOverride() const;
    void listenFor(uid_t user) const;
    void stopListening() const;
    bool isListeningFor(uid_t user) const;
    bool isOtherInstalled() const;
    bool doesSystemdRun() const;

    ShellCommandResult systemctl(Arguments arguments) const;
    void require(Arguments arguments, const std::string& purpose) const;

    std::shared_ptr<CommandRunning> runner;
    Layout layout;
};

} // namespace tavo
