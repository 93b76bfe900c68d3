#include "app/EditedConfigFile.h"
#include "app/TavoAppModel.h"
#include "base/DescribedError.h"
#include "base/ErrorText.h"

#include <utility>

namespace tavo {

void TavoAppModel::toggleEnabled() {
    perform([this] {
        const bool isPausing = appliedConfig.isEnabled;
        forgetEditedFile();
        adoptEditedFile();
        if (isPausing) {
            auto paused = appliedConfig;
            paused.isEnabled = false;
            auto pausedDraft = draft;
            pausedDraft.isEnabled = false;
            publish(ModelProperty::config, appliedConfig, paused);
            publish(ModelProperty::draftConfig, draft, pausedDraft);
        } else {
            publish(ModelProperty::powerStatus, power, platform.powerEnvironment->currentStatus());
            publishConfig(appliedConfig.enabledForCurrentPowerSource(power));
        }
        persistConfigAndReschedule();
    });
}

void TavoAppModel::editDraft(const AppConfig& edited) {
    perform([this, &edited] { publish(ModelProperty::draftConfig, draft, edited); });
}

void TavoAppModel::revertDraft() {
    perform([this] {
        publish(ModelProperty::draftConfig, draft, appliedConfig);
        forgetEditedFile();
        clearError();
    });
}

struct TavoAppModel::SaveInProgress {
    AppConfig checked;

    /// As they were when the save was asked for.
    AppConfig config;
    AppConfig draft;

    /// The failure of launch at login, if there was one.
    ErrorText error;
};

void TavoAppModel::saveDraft() {
    perform([this] {
        forgetEditedFile();
        adoptEditedFile();
        try {
            if (saveInProgress) {
                throw DescribedError("launch at login is still being set up; save again in a moment.");
            }
            const auto checked = draft.validated();
            if (checked.launchAtLoginEnabled != appliedConfig.launchAtLoginEnabled) {
                if (auto rest = platform.setLaunchAtLogin(checked.launchAtLoginEnabled)) {
                    saveAfter(std::move(rest), {.checked = checked, .config = appliedConfig, .draft = draft});
                    return;
                }
            }
            putIntoForce(checked);
        } catch (const std::exception& error) {
            fail(errorText(error));
        }
    });
}

void TavoAppModel::putIntoForce(const AppConfig& checked) {
    publishConfig(checked);
    clearError();
    persistConfigAndReschedule();
}

/// Launchd may take seconds, and the windows must not stand still meanwhile.
void TavoAppModel::saveAfter(LaunchAtLoginManaging::Remainder work, SaveInProgress save) {
    clearError();
    const auto pending = std::make_shared<SaveInProgress>(std::move(save));
    saveInProgress = pending;
    mainLoop->runInBackground(
        [work = std::move(work), pending] {
            try {
                work();
            } catch (const std::exception& error) {
                pending->error = errorText(error);
            }
        },
        [weakModel = weak_from_this()] {
            if (const auto model = weakModel.lock()) {
                model->perform([&] { model->finishSave(); });
            }
        });
}

void TavoAppModel::finishSave() {
    const auto pending = std::exchange(saveInProgress, nullptr);
    if (pending->error) {
        fail(*pending->error);
        return;
    }
    adoptEditedFile();
    if (isAsWhenAskedFor(*pending)) {
        putIntoForce(pending->checked);
        return;
    }
    // Somebody has switched or edited something since. That is not taken back, and edits are still to be saved; but launch at
    // login has changed, and the configuration says so.
    auto changed = appliedConfig;
    changed.launchAtLoginEnabled = pending->checked.launchAtLoginEnabled;
    if (hasUnsavedEdits()) {
        publish(ModelProperty::config, appliedConfig, changed);
    } else {
        publishConfig(changed);
    }
    clearError();
    persistConfigAndReschedule();
}

/// At the end, which waits for nobody: what is to be started at login lies in its place already, and the system looks for it
/// there at the next one. Whether it can be had at once as well makes no difference any more.
void TavoAppModel::saveWhatIsPending() {
    if (!saveInProgress) {
        return;
    }
    try {
        adoptEditedFile();
        auto config = appliedConfig;
        if (isAsWhenAskedFor(*saveInProgress)) {
            config = saveInProgress->checked;
        }
        config.launchAtLoginEnabled = saveInProgress->checked.launchAtLoginEnabled;
        save(config);
        publishConfig(config);
    } catch (const std::exception& error) {
        fail(errorText(error));
    }
}

bool TavoAppModel::isAsWhenAskedFor(const SaveInProgress& pending) const {
    return draft == pending.draft && appliedConfig == pending.config;
}

void TavoAppModel::publishConfig(const AppConfig& config) {
    const auto next = config; // which may be one of the two
    publish(ModelProperty::config, appliedConfig, next);
    publish(ModelProperty::draftConfig, draft, next);
}

void TavoAppModel::persistConfigAndReschedule() {
    saveAppliedConfig();
    if (appliedConfig.isEnabled) {
        evaluate();
        return;
    }
    if (stopAndRelease()) {
        work.evaluated(appliedConfig);
        failure = nullptr;
    }
    scheduleNextEvaluation(AppConfig::fixedPollIntervalSeconds);
}

void TavoAppModel::saveAppliedConfig() {
    try {
        save(appliedConfig);
        clearError();
    } catch (const std::exception& error) {
        // Without this, what its user has just switched off would come back with the next look at the file.
        pendingSave = PendingSave{.inFile = lastInFile, .error = errorText(error)};
        fail(errorText(error));
    }
}

/// At the end: what was switched off must not be on again at the next start.
void TavoAppModel::saveWhatIsOverdue() {
    try {
        if (pendingSave && store->loadConfig() == pendingSave->inFile) {
            save(appliedConfig);
        }
    } catch (const std::exception& error) {
        fail(errorText(error));
    }
}

void TavoAppModel::save(const AppConfig& config) {
    keepEditedFileAside(config);
    store->saveConfig(config);
    lastInFile = config;
    pendingSave.reset();
    publish(ModelProperty::configFileError, configFileErrorText, std::nullopt);
}

void TavoAppModel::reloadPersistedConfigIfSafe() {
    if (hasUnsavedEdits()) {
        return;
    }
    try {
        adoptFileConfig(store->loadConfig());
    } catch (const std::exception& error) {
        publish(ModelProperty::configFileError, configFileErrorText, errorText(error));
        fail(errorText(error));
    }
}

/// Called before the file is written, and before what is written is decided on: nobody has looked at the file since the
/// last evaluation, up to a minute ago.
void TavoAppModel::adoptEditedFile() {
    if (hasUnsavedEdits()) {
        return; // kept aside when it comes to writing
    }
    try {
        const auto inFile = store->loadConfig();
        if (!(inFile == lastInFile)) {
            adoptFileConfig(inFile);
        }
    } catch (const std::exception&) {
        // The store keeps aside what it cannot read.
    }
}

/// @throws std::system_error when it cannot be kept; the file must not be written over then.
void TavoAppModel::keepEditedFileAside(const AppConfig& toBeSaved) {
    AppConfig inFile;
    try {
        inFile = store->loadConfig();
    } catch (const std::exception&) {
        return; // the store keeps aside what it cannot read
    }
    if (inFile == lastInFile || inFile == toBeSaved) {
        return;
    }
    if (const auto kept = keepEditedConfigAside(store->paths())) {
        publish(
            ModelProperty::editedFileNotice, editedFileNoticeText,
            "config.json was edited while the settings here were not saved; the edited file is not in force, and is "
            "kept as " +
                kept->filename().string() + ".");
        lastInFile = inFile; // kept once, however often the save has to be tried again
    }
}

void TavoAppModel::adoptFileConfig(const AppConfig& inFile) {
    publish(ModelProperty::configFileError, configFileErrorText, std::nullopt);
    if (pendingSave && inFile == pendingSave->inFile) {
        saveAppliedConfig();
        return;
    }
    pendingSave.reset(); // somebody has edited the file meanwhile, and the last word counts
    lastInFile = inFile;
    if (!(inFile == appliedConfig)) {
        publishConfig(inFile);
        clearError();
    }
}

} // namespace tavo
