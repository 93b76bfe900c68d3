#include "TavoPrivilegedHelper/linux/HelperProgram.h"

#include "TavoPrivilegedHelper/AbsenceConfirmation.h"
#include "TavoPrivilegedHelper/HelperMain.h"
#include "TavoPrivilegedHelper/HelperService.h"
#include "TavoPrivilegedHelper/linux/AsioHelperTimers.h"
#include "TavoPrivilegedHelper/linux/HelperListener.h"
#include "TavoPrivilegedHelper/linux/LoginPresence.h"
#include "TavoPrivilegedHelper/linux/LogindLidSwitch.h"
#include "TavoPrivilegedHelper/linux/PeerIdentification.h"
#include "TavoPrivilegedHelper/linux/PidfdProcessWatching.h"
#include "helper/PrivilegedHelperSelfResetter.h"
#include "helper/linux/HelperLocations.h"
#include "helper/linux/SystemdServiceSetup.h"
#include "system/SystemCommandRunner.h"
#include "system/linux/ServiceManager.h"

#include <asio/signal_set.hpp>
#include <fmt/format.h>

#include <chrono>
#include <csignal>
#include <thread>
#include <utility>
#include <vector>

namespace tavo {

namespace {

/// All of them take less time than the service manager allows for a stop.
constexpr int attemptsToEnd = 5;

constexpr uid_t root = 0;

/// The time that waits for logind may take in one request. Shorter than callers wait.
constexpr std::chrono::milliseconds maxRequestTime{3000};

} // namespace

HelperProgram::HelperProgram(std::optional<uid_t> user, Log log)
    : user(user), log(log), budget(std::make_shared<TimeBudget>(maxRequestTime)),
      logind(std::make_shared<LogindLidSwitch>(budget)),
      setting(std::make_shared<LogindSleepSetting>(logind, HelperLocations::lidDropInFolder(), log,
                                                   LogindSleepSetting::Pause(), budget)),
      keeper(std::make_shared<OverrideKeeper>(
          setting, SleepOverrideJournal(SystemdServiceSetup().overrideJournal()),
          OverrideKeeper::Surroundings{.processes = std::make_shared<PidfdProcessWatching>(loop),
                                       .timers = std::make_shared<AsioHelperTimers>(loop),
                                       .isLidClosed = [this] { return logind->situation().isLidClosed; },
                                       .log = log})) {}

void HelperProgram::serve(const std::function<void()>& ready) {
    // Before an override is in force: from here on a request to stop ends all of them.
    asio::signal_set stopSignals(loop, SIGTERM, SIGINT, SIGHUP);
    stopSignals.async_wait([this](const asio::error_code&, int) { loop.stop(); });
    takeOver();
    const PrivilegedHelperSelfResetter resetter(std::make_shared<SystemCommandRunner>(),
                                                std::make_shared<SystemdServiceSetup>(), helperRemovalDelay);
    SingleRemoval removal([&resetter] { resetter.requestReset(); });
    const auto service = std::make_shared<HelperService>(
        keeper, [this](uid_t caller) { return refusal(caller); }, [&removal] { removal.request(); }, log, budget);
    const auto isServed = [this](uid_t caller) { return caller == root || !refusal(caller); };
    AbsenceConfirmation absence(std::make_shared<AsioHelperTimers>(loop), isServed,
                                [this](const auto& isPresent) { keeper->endUnserved(isPresent); });
    const LoginWatch logins(loop, [&absence] { absence.check(); });
    absence.check();
    {
        const HelperListener listener(loop, HelperLocations::socket(), service, std::make_shared<PeerIdentification>());
        ready();
        loop.run();
    }
    if (!isBeingRestarted()) {
        endAll();
    }
}

/// logind gives nobody else than root a lock on behalf of a user who is not there, and neither does this.
std::optional<std::string> HelperProgram::refusal(uid_t caller) const {
    if (user != caller) {
        return HelperService::notServed(caller);
    }
    if (!isPresent(caller)) {
        return fmt::format(
            "the privileged helper serves this user (user id {}) only while logged in; log in, or have the "
            "user linger, see loginctl(1), enable-linger.",
            caller);
    }
    return std::nullopt;
}

bool HelperProgram::isBeingRestarted() const {
    try {
        return ServiceManager().jobTypeOf(std::string(SystemdServiceSetup::unitName)) == "restart";
    } catch (const std::exception& error) {
        log(fmt::format("taken for a stop, not a restart: {}", error.what()));
        return false;
    }
}

void HelperProgram::takeOver() {
    keeper->takeOver(setting->hasLeftover() ? std::vector{PMSetScope::all} : std::vector<PMSetScope>{});
}

void HelperProgram::endAll() {
    keeper->endAll();
    for (int attempt = 1; keeper->hasUnfinishedWork() && attempt < attemptsToEnd; ++attempt) {
        std::this_thread::sleep_for(OverrideKeeper::retryPause);
        keeper->retry();
    }
}

void HelperProgram::cleanUp(bool everything) {
    takeOver();
    if (everything && !isBeingRestarted()) {
        endAll();
    }
}

} // namespace tavo
