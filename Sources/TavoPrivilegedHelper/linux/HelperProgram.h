#pragma once

#include "TavoPrivilegedHelper/HelperMain.h"
#include "TavoPrivilegedHelper/IdleExit.h"
#include "TavoPrivilegedHelper/OverrideKeeper.h"
#include "TavoPrivilegedHelper/linux/HelperListener.h"
#include "TavoPrivilegedHelper/linux/LogindSleepSetting.h"
#include "helper/HelperServiceSetup.h"
#include "helper/TimeBudget.h"

#include <asio/io_context.hpp>
#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tavo {

/// The helper as a service of systemd, composed of its parts.
class HelperProgram {
public:
    using Log = std::function<void(const std::string&)>;

    /// @param options  the user who is served beside root, while logged in, or whether that is the owner of a socket
    /// that was passed.
    HelperProgram(const HelperOptions& options, Log log);

    /// Takes over what an earlier helper has left, calls `ready` once requests are read, and serves until SIGTERM,
    /// SIGINT or SIGHUP; then ends every override, unless the next helper is about to take over. One that was activated
    /// also ends when it has nothing to do. @throws std::system_error when the socket cannot be made, and what
    /// PassedSocket::take() throws.
    void serve(const std::function<void()>& ready);

    /// Ends the overrides that an earlier helper has left: all of them, or only those of processes that have ended.
    void cleanUp(bool everything);

private:
    void serveUntilStopped(const std::shared_ptr<const HelperService>& service, FileDescriptor passed,
                           const std::function<void()>& ready);
    void endOnceIdle(HelperListener& listener);
    std::shared_ptr<const HelperServiceSetup> setup() const;
    void takeOver();
    std::optional<std::string> refusal(uid_t caller) const;
    void endAll();

    /// An override stays in force then, for as long as its owner lives: with the lid closed, a gap would be a suspend.
    bool isBeingRestarted() const;

    bool isActivated;
    std::optional<uid_t> user;
    Log log;
    asio::io_context loop{1};
    std::shared_ptr<TimeBudget> budget;
    std::shared_ptr<LidSwitchManaging> logind;
    std::shared_ptr<LogindSleepSetting> setting;
    std::shared_ptr<OverrideKeeper> keeper;

    /// Present while an activated helper serves.
    std::optional<IdleExit> idle;
};

} // namespace tavo
