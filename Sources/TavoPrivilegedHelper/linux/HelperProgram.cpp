#include "TavoPrivilegedHelper/linux/HelperProgram.h"

#include "TavoPrivilegedHelper/HelperMain.h"
#include "TavoPrivilegedHelper/HelperService.h"
#include "TavoPrivilegedHelper/linux/AsioHelperTimers.h"
#include "TavoPrivilegedHelper/linux/HelperListener.h"
#include "TavoPrivilegedHelper/linux/PidfdProcessWatching.h"
#include "helper/PrivilegedHelperSelfResetter.h"
#include "helper/linux/LogindLidSwitch.h"
#include "helper/linux/SocketPrivilegedHelperClient.h"
#include "helper/linux/SystemdServiceSetup.h"
#include "system/SystemCommandRunner.h"
#include "system/linux/ServiceManager.h"

#include <asio/signal_set.hpp>
#include <fmt/format.h>

#include <csignal>
#include <thread>
#include <utility>
#include <vector>

namespace tavo {

namespace {

/// Before giving up at the end; the service manager's patience is longer.
constexpr int attemptsToUndo = 5;

} // namespace

HelperProgram::HelperProgram(std::optional<uid_t> user, Log log)
    : user(user), log(log), logind(std::make_shared<LogindLidSwitch>()),
      setting(std::make_shared<LogindSleepController>(logind, LogindSleepController::systemDropInFolder(), log)),
      keeper(std::make_shared<OverrideKeeper>(
          setting, SleepOverrideJournal(SystemdServiceSetup().overrideJournal()),
          OverrideKeeper::Surroundings{.processes = std::make_shared<PidfdProcessWatching>(loop),
                                       .timers = std::make_shared<AsioHelperTimers>(loop),
                                       .isLidClosed = [this] { return logind->situation().isLidClosed; },
                                       .log = log})) {}

void HelperProgram::serve(const std::function<void()>& ready) {
    // Before anything is in force: from here on a request to stop finds everything undone.
    asio::signal_set stopSignals(loop, SIGTERM, SIGINT, SIGHUP);
    stopSignals.async_wait([this](const asio::error_code&, int) { loop.stop(); });
    takeOver();
    const PrivilegedHelperSelfResetter resetter(std::make_shared<SystemCommandRunner>(),
                                                std::make_shared<SystemdServiceSetup>(), helperRemovalDelay);
    const auto service = std::make_shared<HelperService>(
        keeper, [served = user](uid_t caller) { return served == caller; }, [&resetter] { resetter.requestReset(); });
    {
        const HelperListener listener(loop, SocketPrivilegedHelperClient::systemSocket(), service,
                                      std::make_shared<PidfdProcessWatching>(loop));
        ready();
        loop.run();
    }
    if (!isBeingRestarted()) {
        undoAll();
    }
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

void HelperProgram::undoAll() {
    keeper->undoAll();
    for (int attempt = 1; keeper->hasUnfinishedWork() && attempt < attemptsToUndo; ++attempt) {
        std::this_thread::sleep_for(OverrideKeeper::retryPause);
        keeper->retry();
    }
}

void HelperProgram::cleanUp(bool everything) {
    takeOver();
    if (everything && !isBeingRestarted()) {
        undoAll();
    }
}

} // namespace tavo
