#include "TavoPrivilegedHelper/linux/LogindSleepSetting.h"

#include "base/AtomicFile.h"
#include "base/WakeControlError.h"
#include "helper/linux/HelperLocations.h"

#include <fmt/format.h>

#include <cstdint>
#include <sstream>
#include <string_view>
#include <thread>
#include <utility>

namespace tavo {

namespace {

constexpr const char* ignored = "ignore";
constexpr mode_t readableByAll = 0644;

/// logind rereads its files within milliseconds, and a caller waits no longer than 5 seconds.
constexpr std::chrono::milliseconds maxWait{2000};
constexpr std::chrono::milliseconds pollInterval{10};

/// logind drops the locks of a Tavo that is just exiting, and this one's own, a moment after they are released.
constexpr std::chrono::milliseconds maxLockWait{1000};
constexpr std::chrono::milliseconds lockPollInterval{100};

constexpr std::string_view batteryMemo = "# before: HandleLidSwitch=";
constexpr std::string_view externalPowerMemo = "# before: HandleLidSwitchExternalPower=";

bool covers(const std::set<PMSetScope>& scopes, PMSetScope scope) {
    return scopes.contains(scope) || scopes.contains(PMSetScope::all);
}

void sleepFor(std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
}

/// Bounds the polling of logind. Counts attempts as well as time: a logind that answers slowly must not keep everybody
/// else waiting.
class PollBound {
public:
    PollBound(std::chrono::milliseconds bound, std::chrono::milliseconds pause)
        : attempts(bound / pause), end(std::chrono::steady_clock::now() + bound) {}

    /// Whether there is time for another attempt after the one that was just made.
    bool allowsAnother() { return --attempts > 0 && std::chrono::steady_clock::now() < end; }

private:
    std::int64_t attempts;
    std::chrono::steady_clock::time_point end;
};

} // namespace

LogindSleepSetting::LogindSleepSetting(std::shared_ptr<const LidSwitchManaging> logind,
                                       std::filesystem::path dropInFolder, Log log, Pause pause,
                                       std::shared_ptr<const TimeBudget> budget)
    : logind(std::move(logind)), dropIn(std::move(dropInFolder) / HelperLocations::lidDropInName), log(std::move(log)),
      pause(pause ? std::move(pause) : Pause(sleepFor)), budget(std::move(budget)), before(rememberedActions()) {}

bool LogindSleepSetting::hasLeftover() const {
    return std::filesystem::exists(dropIn);
}

void LogindSleepSetting::apply(const Scopes& scopes) {
    if (scopes.empty()) {
        end();
    } else {
        enforce(scopes);
    }
}

void LogindSleepSetting::enforce(const Scopes& scopes) {
    if (!before) {
        before = logind->actions();
    }
    const auto contentBefore = hasLeftover() ? std::optional(readWholeFile(dropIn)) : std::nullopt;
    const bool hadLock = static_cast<bool>(sleepLock);
    try {
        if (!sleepLock) {
            sleepLock = logind->takeSleepLock();
        }
        install(scopes);
    } catch (...) {
        restore(contentBefore);
        if (!hadLock) {
            sleepLock.reset();
        }
        throw;
    }
}

void LogindSleepSetting::install(const Scopes& scopes) {
    std::filesystem::create_directories(dropIn.parent_path());
    replaceFileAtomically(dropIn, dropInContent(scopes), readableByAll);
    logind->rereadConfiguration();
    if (waitFor(actionsDuring(scopes))) {
        return;
    }
    const auto reported = logind->actions();
    throw WakeControlError::commandFailed(
        fmt::format("logind does not take the setting for the lid over; it reports HandleLidSwitch={} and "
                    "HandleLidSwitchExternalPower={}. look for a file of logind.conf.d whose name comes after {}.",
                    reported.onBattery, reported.onExternalPower, dropIn.filename().string()));
}

void LogindSleepSetting::restore(const std::optional<std::string>& content) {
    try {
        if (content) {
            replaceFileAtomically(dropIn, *content, readableByAll);
        } else {
            std::filesystem::remove(dropIn);
        }
        logind->rereadConfiguration();
        if (!content) {
            waitFor(*before);
            before.reset();
        }
    } catch (const std::exception& error) {
        log(fmt::format("could not restore the setting for the lid: {}", error.what()));
    }
}

void LogindSleepSetting::end() {
    if (!hasLeftover() && !sleepLock && !before && !isRereadOwed) {
        return;
    }
    isRereadOwed = true;
    std::filesystem::remove(dropIn);
    logind->rereadConfiguration();
    isRereadOwed = false;
    if (before && !waitFor(*before)) {
        // The file has gone and logind has been told: somebody else has set what it reports now.
        log("the setting for the lid is not what it was before; another file of logind.conf.d has changed.");
    }
    before.reset();
    sleepLock.reset();
    sleepIfNobodyElseWould();
}

/// On external power logind follows the setting for battery power where it has none of its own, so an override for
/// battery power alone has to write that one down. The setting for docked machines follows neither.
LidSwitchActions LogindSleepSetting::actionsDuring(const Scopes& scopes) const {
    auto actions = *before;
    if (covers(scopes, PMSetScope::battery)) {
        actions.onExternalPower = before->effectiveOnExternalPower();
        actions.onBattery = ignored;
    }
    if (covers(scopes, PMSetScope::ac)) {
        actions.onExternalPower = ignored;
    }
    return actions;
}

std::string LogindSleepSetting::dropInContent(const Scopes& scopes) const {
    const auto actions = actionsDuring(scopes);
    std::string settings;
    if (covers(scopes, PMSetScope::battery)) {
        settings += fmt::format("HandleLidSwitch={}\n", actions.onBattery);
    }
    settings += fmt::format("HandleLidSwitchExternalPower={}\n", actions.onExternalPower);
    return fmt::format("# Tavo keeps this computer awake with its lid closed; this file goes when that ends.\n"
                       "{}{}\n{}{}\n[Login]\n{}",
                       batteryMemo, before->onBattery, externalPowerMemo, before->onExternalPower, settings);
}

std::optional<LidSwitchActions> LogindSleepSetting::rememberedActions() const {
    if (!hasLeftover()) {
        return std::nullopt;
    }
    std::optional<LidSwitchActions> remembered;
    try {
        std::istringstream lines(readWholeFile(dropIn));
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with(batteryMemo)) {
                remembered = LidSwitchActions{line.substr(batteryMemo.size()), ""};
            } else if (remembered && line.starts_with(externalPowerMemo)) {
                remembered->onExternalPower = line.substr(externalPowerMemo.size());
            }
        }
    } catch (const std::exception& error) {
        log(fmt::format("cannot read the drop-in of an earlier helper: {}", error.what()));
    }
    return remembered;
}

bool LogindSleepSetting::waitFor(const LidSwitchActions& expected) const {
    PollBound polling(budget ? budget->boundOf(maxWait) : maxWait, pollInterval);
    while (logind->actions() != expected) {
        if (!polling.allowsAnother()) {
            return false;
        }
        pause(pollInterval);
    }
    return true;
}

/// logind acts on a lid that is closed already as soon as it may. A desktop that has taken the switch from it saw the
/// lid close, was refused, and will not ask again.
void LogindSleepSetting::sleepIfNobodyElseWould() const {
    try {
        // Not cut short by the budget: a lock that goes a moment later would leave a closed laptop awake.
        PollBound polling(maxLockWait, lockPollInterval);
        auto situation = logind->situation();
        while (situation.isLidClosed && situation.isLidHandledElsewhere && situation.isSleepBlocked &&
               polling.allowsAnother()) {
            pause(lockPollInterval);
            situation = logind->situation();
        }
        if (!situation.isLidClosed || !situation.isLidHandledElsewhere || situation.isSleepBlocked) {
            return;
        }
        const auto actions = logind->actions();
        const auto& action = situation.isDocked            ? situation.actionWhenDocked
                             : situation.isOnExternalPower ? actions.effectiveOnExternalPower()
                                                           : actions.onBattery;
        logind->sleep(action);
    } catch (const std::exception& error) {
        log(fmt::format("the lid is closed, and the computer could not be asked to sleep: {}", error.what()));
    }
}

} // namespace tavo
