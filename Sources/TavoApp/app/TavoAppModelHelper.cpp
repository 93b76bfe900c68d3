#include "app/TavoAppModel.h"
#include "base/ErrorText.h"
#include "helper/PrivilegedHelperInstaller.h"

namespace tavo {

using State = PrivilegedHelperInstallState;

struct TavoAppModel::HelperOutcome {
    State state = State::notInstalled;

    /// What stopped an installation.
    ErrorText error;

    /// Whether something else was installed in the helper's place.
    bool isForeign = false;

    /// Whether a reset removed everything.
    bool isGone = false;
};

bool TavoAppModel::needsClosedLidPermission() const {
    return appliedConfig.watchMode != WatchMode::open && helperState != State::ready;
}

void TavoAppModel::installHelper() {
    perform([this] {
        if (isHelperWorkRunning) {
            return;
        }
        forgetEditedFile();
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
        // The file is compared afresh: it may have been replaced since the last look.
        if (isHelperWorkRunning || helperState != State::ready || !support.matchesThisBuild()) {
            return;
        }
        beginHelperWork(
            [support] {
                HelperOutcome outcome;
                try {
                    outcome.isGone = support.reset();
                } catch (const std::exception&) {
                    // A helper that could not be asked has not removed itself, and that is what will be said.
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

void TavoAppModel::beginHelperWork(std::function<HelperOutcome()> work,
                                   void (TavoAppModel::*finish)(const HelperOutcome&)) {
    publish(ModelProperty::isInstallingHelper, isHelperWorkRunning, true);
    clearError();
    const auto outcome = std::make_shared<HelperOutcome>();
    mainLoop->runInBackground([work = std::move(work), outcome] { *outcome = work(); },
                              [weakModel = weak_from_this(), outcome, finish] {
                                  if (const auto model = weakModel.lock()) {
                                      model->perform([&] { ((*model).*finish)(*outcome); });
                                  }
                              });
}

void TavoAppModel::refreshHelperInstallState(bool restartIfEnabled) {
    const auto before = helperState;
    publishHelperState(platform.closedLidSupport().state());
    if (helperState != before) {
        rebuildCoordinator(restartIfEnabled);
    } else {
        reassertOverride(restartIfEnabled);
    }
}

/// A helper that was replaced has given back what it was asked for, though it looks the same as before.
void TavoAppModel::reassertOverride(bool restartIfEnabled) {
    try {
        coordinator->reassertOverride();
    } catch (const std::exception&) {
        rebuildCoordinator(restartIfEnabled); // the evaluation that follows asks again, and says what is wrong
    }
}

void TavoAppModel::publishHelperState(State state) {
    // Its answers count for nothing: it is root's, and not Tavo's.
    isHelperForeign = isHelperForeign && isInstalled(state);
    if (isHelperForeign) {
        state = State::installedUnreachable;
    }
    publish(ModelProperty::helperInstallState, helperState, state);
    publish(ModelProperty::supportsSilentHelperReset, canResetSilently,
            state == State::ready && platform.closedLidSupport().matchesThisBuild());
}

/// No evaluation is armed after a failure. The helper alone is looked at again: it may only be late, as at login, or be
/// starting again, and nobody would tell.
void TavoAppModel::watchHelperIfNeeded() {
    const bool isAwaited = needsClosedLidPermission() && helperState == State::installedUnreachable;
    if (!isAwaited && !hasStuckOverride()) {
        return;
    }
    helperTimer = mainLoop->startTimer(AppConfig::fixedPollIntervalSeconds, [weakModel = weak_from_this()] {
        if (const auto model = weakModel.lock()) {
            model->perform([&] { model->lookAtHelperAgain(); });
        }
    });
}

bool TavoAppModel::hasStuckOverride() const {
    return coordinator->isOverrideStuck() || !replaced.empty();
}

/// An override that cannot be ended keeps a closed laptop awake: nothing else is done before it has ended.
void TavoAppModel::lookAtHelperAgain() {
    if (hasStuckOverride()) {
        refreshHelperInstallState(false);
        releaseReplaced();
        releaseStuck();
        if (hasStuckOverride()) {
            watchHelperIfNeeded();
            return;
        }
    }
    evaluate();
}

void TavoAppModel::releaseStuck() {
    try {
        if (coordinator->isOverrideStuck()) {
            coordinator->release();
        }
    } catch (const std::exception& error) {
        fail(errorText(error));
    }
}

void TavoAppModel::updateClosedLidPermissionGranted(bool granted, bool restartIfEnabled) {
    adoptEditedFile();
    auto changed = appliedConfig;
    changed.closedLidPermissionGranted = granted;
    ErrorText saveFailure;
    try {
        save(changed);
        auto changedDraft = draft;
        changedDraft.closedLidPermissionGranted = granted;
        publish(ModelProperty::config, appliedConfig, changed);
        publish(ModelProperty::draftConfig, draft, changedDraft);
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
