#pragma once

#include "app/MainLoop.h"
#include "app/Platform.h"
#include "app/StatusCopy.h"
#include "config/TavoStore.h"
#include "helper/PrivilegedHelperInstallState.h"
#include "runtime/RuntimeCoordinator.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tavo {

/// What of the model has changed.
enum class ModelProperty : unsigned {
    config = 1U << 0U,
    runtimeSnapshot = 1U << 1U,
    powerStatus = 1U << 2U,
    lastError = 1U << 3U,
    configFileError = 1U << 4U,
    assertionNotice = 1U << 5U,
    helperInstallState = 1U << 6U,
};

/// A set of properties: bits of ModelProperty.
using ModelChanges = unsigned;

/// Owns what a running Tavo is made of, and drives the evaluations. Lives on the main thread; callbacks hold it weakly.
class TavoAppModel final : public std::enable_shared_from_this<TavoAppModel> {
public:
    /// Reads configuration and state. An unreadable configuration does not stop it: it starts with the default one,
    /// switched off, and configFileError() says why. Evaluates nothing yet, see start().
    static std::shared_ptr<TavoAppModel> make(std::shared_ptr<MainLoop> mainLoop,
                                              std::shared_ptr<const TavoStoring> store, Platform platform);

    /// Posts the first evaluation when the configuration is switched on, or else arms the timer.
    void start();

    /// Picks up an edited configuration, reads the power status, and has the coordinator decide and act. A failure stops
    /// the loop until the next call.
    void evaluateNow();

    /// Looks at the helper again, which somebody else may have installed, replaced or removed, and then evaluates: what a
    /// request to look around means.
    void lookAround();

    /// Lets go of everything, persists that nothing is held, and arms nothing any more.
    void quit();

    const AppConfig& config() const { return appliedConfig; }
    const RuntimeSnapshot& runtimeSnapshot() const { return snapshot; }
    const PowerStatus& powerStatus() const { return power; }

    /// What there is of the privileged helper.
    PrivilegedHelperInstallState helperInstallState() const { return helperState; }

    /// The text of the last failure; absent after a successful evaluation.
    const std::optional<std::string>& lastError() const { return lastErrorText; }

    /// Why the configuration file could not be read; absent once it has been read again.
    const std::optional<std::string>& configFileError() const { return configFileErrorText; }

    /// What is held less than planned, in the words of the assertion's child.
    std::optional<std::string> assertionNotice() const { return platform.assertionBoard->notice(); }

    RuntimeStatusCopy runtimeStatusCopy() const {
        return RuntimeStatusCopy::make(appliedConfig, snapshot, power, platform.machineNoun);
    }

    /// The failure that stopped the loop; null while it runs.
    const std::exception_ptr& evaluationFailure() const { return failure; }

    /// Called on the main thread once after every operation that changed something.
    void onChange(std::function<void(ModelChanges)> observer) { changeObserver = std::move(observer); }

private:
    TavoAppModel(std::shared_ptr<MainLoop> mainLoop, std::shared_ptr<const TavoStoring> store, Platform platform);

    void observeAssertion();
    void assertionChanged();
    void refreshHelperInstallState(bool restartIfEnabled);
    void rebuildCoordinator(bool restartIfEnabled);
    void reassertOverride();
    void reloadPersistedConfig();
    void scheduleNextEvaluation(double seconds);
    void applyFailure(const std::exception& error);
    void persistBestEffort(const RuntimeSnapshot& toPersist) const;

    /// Assigns a published property and remembers that it changed.
    template <typename Value, typename NewValue>
    void publish(ModelProperty property, Value& current, NewValue&& next);
    void notify();

    std::shared_ptr<MainLoop> mainLoop;
    std::shared_ptr<const TavoStoring> store;
    Platform platform;
    std::unique_ptr<MainLoopTimer> timer;

    AppConfig appliedConfig;
    RuntimeSnapshot snapshot;
    PowerStatus power;
    PrivilegedHelperInstallState helperState;
    std::shared_ptr<RuntimeCoordinator> coordinator;
    std::optional<std::string> lastErrorText;
    std::optional<std::string> configFileErrorText;
    std::exception_ptr failure;

    std::function<void(ModelChanges)> changeObserver;
    ModelChanges pendingChanges = 0;
};

} // namespace tavo
