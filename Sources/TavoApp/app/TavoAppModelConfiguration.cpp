#include "app/TavoAppModel.h"
#include "base/DescribedError.h"
#include "base/ErrorText.h"

#include <utility>

namespace tavo {

void TavoAppModel::toggleEnabled() {
    perform([this] {
        const bool isPausing = config().isEnabled;
        configuration.dismissEditedFileNotice();
        adoptEditedFile();
        if (isPausing) {
            configuration.switchOff();
        } else {
            publish(ModelProperty::powerStatus, power, platform.powerEnvironment->currentStatus());
            configuration.apply(config().enabledForCurrentPowerSource(power));
        }
        persistConfigAndReschedule();
    });
}

void TavoAppModel::editDraft(const AppConfig& draft) {
    perform([this, &draft] { configuration.edit(draft); });
}

void TavoAppModel::revertDraft() {
    perform([this] {
        configuration.revert();
        configuration.dismissEditedFileNotice();
        clearError();
    });
}

void TavoAppModel::saveDraft() {
    perform([this] {
        configuration.dismissEditedFileNotice();
        adoptEditedFile();
        try {
            if (configuration.hasDeferredSave()) {
                throw DescribedError("launch at login is still being set up; save again in a moment.");
            }
            const auto checked = draftConfig().validated();
            if (checked.launchAtLoginEnabled != config().launchAtLoginEnabled) {
                if (auto rest = platform.setLaunchAtLogin(checked.launchAtLoginEnabled)) {
                    configuration.deferSave(checked);
                    finishSaveAfter(std::move(rest));
                    return;
                }
            }
            configuration.apply(checked);
            persistConfigAndReschedule();
        } catch (const std::exception& error) {
            fail(errorText(error));
        }
    });
}

/// launchd may take seconds, and the windows must not freeze meanwhile.
void TavoAppModel::finishSaveAfter(LaunchAtLoginManaging::Remainder rest) {
    clearError();
    const auto problem = std::make_shared<ErrorText>();
    mainLoop->runInBackground(
        [rest = std::move(rest), problem] {
            try {
                rest();
            } catch (const std::exception& error) {
                *problem = errorText(error);
            }
        },
        [weakModel = weak_from_this(), problem] {
            if (const auto model = weakModel.lock()) {
                model->perform([&] { model->finishSave(*problem); });
            }
        });
}

void TavoAppModel::finishSave(const ErrorText& problem) {
    if (problem) {
        configuration.cancelDeferredSave();
        fail(*problem);
        return;
    }
    configuration.applyDeferredSave();
    persistConfigAndReschedule();
}

/// Does not wait for launch at login, whose file is already in place for the next login. A switch-off must not be
/// undone by the next start.
void TavoAppModel::saveBeforeQuit() {
    try {
        configuration.saveBeforeQuit();
    } catch (const std::exception& error) {
        fail(errorText(error));
    }
}

void TavoAppModel::adoptEditedFile() {
    if (configuration.adoptEditedFile()) {
        clearError();
    }
}

void TavoAppModel::persistConfigAndReschedule() {
    try {
        configuration.save();
        clearError();
    } catch (const std::exception& error) {
        fail(errorText(error));
    }
    if (config().isEnabled) {
        evaluate();
        return;
    }
    if (stopAndRelease()) {
        work.evaluated(config());
        failure = nullptr;
    }
    scheduleNextEvaluation(AppConfig::fixedPollIntervalSeconds);
}

} // namespace tavo
