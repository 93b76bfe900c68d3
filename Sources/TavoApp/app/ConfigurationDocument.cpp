#include "app/ConfigurationDocument.h"

#include "base/AtomicFile.h"
#include "base/ErrorText.h"

#include <system_error>
#include <utility>

namespace tavo {

namespace {

std::optional<std::string> contentOf(const std::filesystem::path& file) {
    try {
        return readWholeFile(file);
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory) {
            return std::nullopt;
        }
        throw;
    }
}

} // namespace

std::optional<std::filesystem::path> keepEditedConfigAside(const TavoPaths& paths) {
    const auto content = contentOf(paths.configURL());
    if (!content) {
        return std::nullopt;
    }
    const auto aside = paths.configURL().string() + ".edited";
    auto name = aside;
    for (int number = 2; !createFile(name, *content); ++number) {
        name = aside + "." + std::to_string(number);
    }
    return name;
}

ConfigurationDocument::ConfigurationDocument(std::shared_ptr<const TavoStoring> store) : store(std::move(store)) {
    std::optional<AppConfig> asWritten;
    try {
        asWritten = this->store->loadConfigAsWritten();
        appliedConfig = asWritten->validated();
    } catch (const std::exception& error) {
        asWritten.reset();
        fileErrorText = errorText(error);
    }
    draftConfig = appliedConfig;
    inFile = appliedConfig;
    if (asWritten && !(*asWritten == appliedConfig)) {
        try {
            this->store->saveConfig(appliedConfig);
        } catch (const std::exception&) {
            // Nobody has asked for anything to be saved, and the file means the same without it.
        }
    }
}

void ConfigurationDocument::dismissEditedFileNotice() {
    changes.assign(ModelProperty::editedFileNotice, editedFileNoticeText, std::nullopt);
}

void ConfigurationDocument::edit(const AppConfig& draft) {
    changes.assign(ModelProperty::draftConfig, draftConfig, draft);
}

void ConfigurationDocument::revert() {
    edit(appliedConfig);
}

void ConfigurationDocument::apply(const AppConfig& config) {
    const auto next = config; // which may be one of the two
    changes.assign(ModelProperty::config, appliedConfig, next);
    changes.assign(ModelProperty::draftConfig, draftConfig, next);
}

void ConfigurationDocument::switchOff() {
    auto config = appliedConfig;
    config.isEnabled = false;
    auto draft = draftConfig;
    draft.isEnabled = false;
    changes.assign(ModelProperty::config, appliedConfig, config);
    changes.assign(ModelProperty::draftConfig, draftConfig, draft);
}

bool ConfigurationDocument::reload() {
    if (hasUnsavedEdits()) {
        return false;
    }
    AppConfig loaded;
    try {
        loaded = store->loadConfig();
    } catch (const std::exception& error) {
        changes.assign(ModelProperty::configFileError, fileErrorText, errorText(error));
        throw;
    }
    changes.assign(ModelProperty::configFileError, fileErrorText, std::nullopt);
    if (pendingSave && loaded == inFile) {
        // The file is older than the applied configuration: adopting it would undo the change that could not be saved.
        save();
        return true;
    }
    return adopt(loaded);
}

bool ConfigurationDocument::adoptEditedFile() {
    if (hasUnsavedEdits()) {
        return false; // kept aside when it comes to writing
    }
    try {
        const auto loaded = store->loadConfig();
        return !(loaded == inFile) && adopt(loaded);
    } catch (const std::exception&) {
        return false; // the store keeps aside what it cannot read
    }
}

bool ConfigurationDocument::adopt(const AppConfig& fromFile) {
    changes.assign(ModelProperty::configFileError, fileErrorText, std::nullopt);
    pendingSave.reset(); // the file was edited after the save had failed, and the last change counts
    inFile = fromFile;
    if (fromFile == appliedConfig) {
        return false;
    }
    apply(fromFile);
    return true;
}

void ConfigurationDocument::save() {
    try {
        write(appliedConfig);
    } catch (const std::exception& error) {
        pendingSave = errorText(error);
        throw;
    }
}

void ConfigurationDocument::write(const AppConfig& config) {
    keepEditedFileAside(config);
    store->saveConfig(config);
    inFile = config;
    pendingSave.reset();
    changes.assign(ModelProperty::configFileError, fileErrorText, std::nullopt);
}

/// @throws std::system_error when it cannot be kept; the file must not be overwritten then.
void ConfigurationDocument::keepEditedFileAside(const AppConfig& toBeWritten) {
    AppConfig loaded;
    try {
        loaded = store->loadConfig();
    } catch (const std::exception&) {
        return; // the store keeps aside what it cannot read
    }
    if (loaded == inFile || loaded == toBeWritten) {
        return;
    }
    if (const auto kept = keepEditedConfigAside(store->paths())) {
        changes.assign(
            ModelProperty::editedFileNotice, editedFileNoticeText,
            "config.json was edited while the settings here were not saved; the edited file is not in force, and is "
            "kept as " +
                kept->filename().string() + ".");
        inFile = loaded; // kept once, however often the save has to be retried
    }
}

void ConfigurationDocument::saveClosedLidPermission(bool granted) {
    auto config = appliedConfig;
    config.closedLidPermissionGranted = granted;
    write(config);
    auto draft = draftConfig;
    draft.closedLidPermissionGranted = granted;
    changes.assign(ModelProperty::config, appliedConfig, config);
    changes.assign(ModelProperty::draftConfig, draftConfig, draft);
}

void ConfigurationDocument::deferSave(const AppConfig& checked) {
    deferredSave = DeferredSave{.checked = checked, .applied = appliedConfig, .draft = draftConfig};
}

void ConfigurationDocument::applyDeferredSave() {
    const auto deferred = *std::exchange(deferredSave, std::nullopt);
    adoptEditedFile();
    if (draftConfig == deferred.draft && appliedConfig == deferred.applied) {
        apply(deferred.checked);
        return;
    }
    auto changed = appliedConfig;
    changed.launchAtLoginEnabled = deferred.checked.launchAtLoginEnabled;
    if (hasUnsavedEdits()) {
        changes.assign(ModelProperty::config, appliedConfig, changed);
    } else {
        apply(changed);
    }
}

void ConfigurationDocument::saveBeforeQuit() {
    if (hasDeferredSave()) {
        applyDeferredSave();
        save();
    } else if (pendingSave && store->loadConfig() == inFile) {
        save();
    }
}

} // namespace tavo
