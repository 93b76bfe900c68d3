#include "app/TavoAppModel.h"
#include "base/ErrorText.h"
#include "helper/PrivilegedHelperInstaller.h"

namespace tavo {

using State = PrivilegedHelperInstallState;

struct TavoAppModel::HelperOutcome {
    State state = State::notInstalled;

    /// The error that ended an installation.
    ErrorText error;

    /// Whether another program was found where the helper should be.
    bool isForeign = false;

    /// Whether a reset removed everything.
    bool isGone = false;
};

bool TavoAppModel::needsClosedLidPermission() const {
    return config().watchMode != WatchMode::open && helperState != State::ready;
}

void TavoAppModel::installHelper() {
    perform([this] {
        if (isHelperWorkRunning) {
            return;
        }
        configuration.dismissEditedFileNotice();
        if (!platform.helperSource()) {
            fail("could not find the tavo helper executable in this build");
            return;
        }
        beginHelperWork(
            [support = platform.closedLidSupport(), paths = store->paths()] {
                HelperOutcome outcome;
                try {
                    outcome.state = support.install(paths);
                    if (outcome.state != State::ready) {
                        outcome.state = support.waitForState(State::ready, HelperReachabilityWait());
                    }
                } catch (const PrivilegedHelperInstallerError& error) {
                    outcome.error = errorText(error);
                    outcome.isForeign = error.foreignProgram();
                } catch (const std::exception& error) {
                    outcome.error = errorText(error);
                    outcome.state = support.state();
                }
                return outcome;
            },
            &TavoAppModel::finishInstall);
    });
}

void TavoAppModel::finishInstall(const HelperOutcome& outcome) {
    isHelperForeign = outcome.isForeign || (isHelperForeign && outcome.error);
    if (outcome.state == State::ready && !outcome.error) {
        publishHelperState(outcome.state);
        updateClosedLidPermissionGranted(true, true);
    } else {
        refreshHelperInstallState(true);
    }
    if (outcome.error) {
        fail(*outcome.error);
    }
    publish(ModelProperty::isInstallingHelper, isHelperWorkRunning, false);
}

void TavoAppModel::resetHelper() {
    perform([this] {
        const auto support = platform.closedLidSupport();
        // The file is compared anew: it may have been replaced since the last check.
        if (isHelperWorkRunning || helperState != State::ready || !support.matchesThisBuild()) {
            return;
        }
        beginHelperWork(
            [support] {
                HelperOutcome outcome;
                try {
                    outcome.isGone = support.reset();
                } catch (const std::exception&) {
                    // A helper that could not be asked has not removed itself, and the outcome says so.
                    outcome.isGone = false;
                }
                outcome.state = support.state();
                return outcome;
            },
            &TavoAppModel::finishReset);
    });
}

void TavoAppModel::finishReset(const HelperOutcome& outcome) {
    publishHelperState(outcome.state);
    updateClosedLidPermissionGranted(false, true);
    if (!outcome.isGone) {
        // Said last, since what comes before clears it.
        fail("closed-lid support could not be fully reset");
    }
    publish(ModelProperty::isInstallingHelper, isHelperWorkRunning, false);
}

void TavoAppModel::beginHelperWork(std::function<HelperOutcome()> operation,
                                   void (TavoAppModel::*finish)(const HelperOutcome&)) {
    publish(ModelProperty::isInstallingHelper, isHelperWorkRunning, true);
    clearError();
    const auto outcome = std::make_shared<HelperOutcome>();
    mainLoop->runInBackground([operation = std::move(operation), outcome] { *outcome = operation(); },
                              [weakModel = weak_from_this(), outcome, finish] {
                                  if (const auto model = weakModel.lock()) {
                                      model->perform([&] { ((*model).*finish)(*outcome); });
                                  }
                              });
}

void TavoAppModel::publishHelperState(State state) {
    // Its answers do not count: it belongs to root, but is not Tavo's.
    isHelperForeign = isHelperForeign && isInstalled(state);
    if (isHelperForeign) {
        state = State::installedUnreachable;
    }
    publish(ModelProperty::helperInstallState, helperState, state);
    publish(ModelProperty::supportsSilentHelperReset, canResetSilently,
            state == State::ready && platform.closedLidSupport().matchesThisBuild());
}

void TavoAppModel::updateClosedLidPermissionGranted(bool granted, bool restartIfEnabled) {
    adoptEditedFile();
    ErrorText saveFailure;
    try {
        configuration.saveClosedLidPermission(granted);
        clearError();
    } catch (const std::exception& error) {
        saveFailure = errorText(error);
    }
    rebuildCoordinator(restartIfEnabled);
    if (saveFailure) {
        fail(*saveFailure); // after the evaluation, which clears what was said before it
    }
}

} // namespace tavo
