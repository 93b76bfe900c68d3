#include "TavoPrivilegedHelper/linux/HelperProgram.h"

#include "TavoPrivilegedHelper/AbsenceConfirmation.h"
#include "TavoPrivilegedHelper/HelperService.h"
#include "TavoPrivilegedHelper/linux/AsioHelperTimers.h"
#include "TavoPrivilegedHelper/linux/LoginPresence.h"
#include "TavoPrivilegedHelper/linux/LogindLidSwitch.h"
#include "TavoPrivilegedHelper/linux/PassedSocket.h"
#include "TavoPrivilegedHelper/linux/PeerIdentification.h"
#include "TavoPrivilegedHelper/linux/PidfdProcessWatching.h"
#include "helper/PrivilegedHelperSelfResetter.h"
#include "helper/linux/HelperLocations.h"
#include "helper/linux/PackagedServiceSetup.h"
#include "helper/linux/SystemdServiceSetup.h"
#include "system/SystemCommandRunner.h"
#include "system/linux/ServiceManager.h"

#include <asio/post.hpp>
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

HelperProgram::HelperProgram(const HelperOptions& options, Log log)
    : isActivated(options.isActivated), user(options.user), log(log),
      budget(std::make_shared<TimeBudget>(maxRequestTime)), logind(std::make_shared<LogindLidSwitch>(budget)),
      setting(std::make_shared<LogindSleepSetting>(logind, HelperLocations::lidDropInFolder(), log,
                                                   LogindSleepSetting::Pause(), budget)),
      keeper(std::make_shared<OverrideKeeper>(
          setting, SleepOverrideJournal(HelperLocations::overrideJournal()),
          OverrideKeeper::Surroundings{.processes = std::make_shared<PidfdProcessWatching>(loop),
                                       .timers = std::make_shared<AsioHelperTimers>(loop),
                                       .isLidClosed = [this] { return logind->situation().isLidClosed; },
                                       .log = log,
                                       .onChange =
                                           [this] {
                                               if (idle) {
                                                   idle->check();
                                               }
                                           }})) {}

std::shared_ptr<const HelperServiceSetup> HelperProgram::setup() const {
    if (isActivated) {
        return std::make_shared<PackagedServiceSetup>();
    }
    return std::make_shared<SystemdServiceSetup>();
}

void HelperProgram::serve(const std::function<void()>& ready) {
    // Before an override is in force: from here on a request to stop ends all of them.
    asio::signal_set stopSignals(loop, SIGTERM, SIGINT, SIGHUP);
    stopSignals.async_wait([this](const asio::error_code&, int) { loop.stop(); });
    FileDescriptor passed;
    if (isActivated) {
        auto socket = PassedSocket::take();
        user = socket.owner;
        passed = std::move(socket.descriptor);
    }
    takeOver();
    const PrivilegedHelperSelfResetter resetter(std::make_shared<SystemCommandRunner>(), setup(), helperRemovalDelay);
    SingleRemoval removal([&resetter] { resetter.requestReset(); });
    const auto service = std::make_shared<HelperService>(
        keeper, [this](uid_t caller) { return refusal(caller); }, [&removal] { removal.request(); }, log, budget);
    const auto isServed = [this](uid_t caller) { return caller == root || !refusal(caller); };
    AbsenceConfirmation absence(std::make_shared<AsioHelperTimers>(loop), isServed,
                                [this](const auto& isPresent) { keeper->endUnserved(isPresent); });
    const LoginWatch logins(loop, [&absence] { absence.check(); });
    absence.check();
    serveUntilStopped(service, std::move(passed), ready);
    if (!isBeingRestarted()) {
        endAll();
    }
}

void HelperProgram::serveUntilStopped(const std::shared_ptr<const HelperService>& service, FileDescriptor passed,
                                      const std::function<void()>& ready) {
    const auto peers = std::make_shared<PeerIdentification>();
    auto listener = passed ? HelperListener(loop, std::move(passed), service, peers)
                           : HelperListener(loop, HelperLocations::socket(), service, peers);
    if (isActivated) {
        endOnceIdle(listener);
    }
    ready();
    loop.run();
    idle.reset();
}

void HelperProgram::endOnceIdle(HelperListener& listener) {
    const auto isBusy = [this, &listener] { return listener.openConnections() > 0 || !keeper->isIdle(); };
    idle.emplace(std::make_shared<AsioHelperTimers>(loop), isBusy, [this, &listener, isBusy] {
        // A connection that was accepted a moment ago is served; later ones wait for the next helper.
        listener.pause();
        asio::post(loop, [this, &listener, isBusy] {
            if (isBusy()) {
                listener.resume();
                idle->check();
            } else {
                loop.stop();
            }
        });
    });
    listener.onConnectionEnd([this] { idle->check(); });
    idle->check();
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
