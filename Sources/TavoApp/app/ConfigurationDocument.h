#pragma once

#include "app/ModelProperty.h"
#include "config/TavoStore.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace tavo {

/// Copies config.json to "config.json.edited" beside it, with a number when there is such a file already. Gives
/// the copy's file; nothing when there is no config.json.
/// @throws std::system_error naming the path; nothing may be written over the file then.
std::optional<std::filesystem::path> keepEditedConfigAside(const TavoPaths& paths);

/// The configuration in its four forms: applied, as the settings window edits it (the draft), as the file held it when
/// it was read or written last, and as a save that has yet to happen will write it. Decides which of them wins when the
/// file is edited elsewhere, and when a save fails.
///
/// A save that fails is *pending*: it is retried by reload(), until it works or the file is edited. A save that waits
/// for the system to set something up first is *deferred*.
class ConfigurationDocument {
public:
    /// Loads the file, and writes it back when validation changes it. When the file is unreadable, the default
    /// configuration is applied and fileError() says why.
    explicit ConfigurationDocument(std::shared_ptr<const TavoStoring> store);

    const AppConfig& applied() const { return appliedConfig; }
    const AppConfig& draft() const { return draftConfig; }
    bool hasUnsavedEdits() const { return !(draftConfig == appliedConfig); }

    /// Why the file could not be read; absent once it has been read or written again.
    const std::optional<std::string>& fileError() const { return fileErrorText; }

    /// Where an edited file was kept that unsaved edits kept from being adopted; absent after
    /// dismissEditedFileNotice().
    const std::optional<std::string>& editedFileNotice() const { return editedFileNoticeText; }
    void dismissEditedFileNotice();

    /// Replaces the draft. Nothing is checked yet.
    void edit(const AppConfig& draft);

    /// Discards unsaved edits.
    void revert();

    /// Applies `config`, and discards unsaved edits. Nothing is written yet.
    void apply(const AppConfig& config);

    /// Switches off in the applied configuration and in the draft; other unsaved edits stay. Nothing is written yet.
    void switchOff();

    /// Adopts the file if it was edited, or else retries a pending save. With unsaved edits it does nothing. Returns
    /// true if that changed or saved something.
    /// @throws what loading throws, and fileError() says it, too; or what the retried save throws.
    bool reload();

    /// Adopts the file if it was edited since it was read or written last: to be called before a change is decided on
    /// and written, since the last evaluation may be a minute ago. Does nothing with unsaved edits, or when the file is
    /// unreadable: saving keeps such a file aside. Returns true if that changed the applied configuration.
    bool adoptEditedFile();

    /// Writes the applied configuration. A file that was edited meanwhile is kept aside, and editedFileNotice() says
    /// so.
    /// @throws when the file cannot be written, or the edited one not kept; the save is pending then.
    void save();

    /// Why a pending save failed; absent when none is pending.
    const std::optional<std::string>& pendingSaveError() const { return pendingSave; }

    /// Saves whether the user has granted the closed-lid permission, and then applies it; unsaved edits stay.
    /// @throws like save(), with nothing changed and nothing pending.
    void saveClosedLidPermission(bool granted);

    /// Remembers a checked draft, to be applied once launch at login has been set up as it says.
    void deferSave(const AppConfig& checked);
    bool hasDeferredSave() const { return deferredSave.has_value(); }
    void cancelDeferredSave() { deferredSave.reset(); }

    /// Adopts an edited file, and then applies the deferred configuration. If the configuration or the draft has
    /// changed since the save was deferred, only its launch at login is applied, which the system has set up by now.
    /// Nothing is written yet.
    void applyDeferredSave();

    /// Before the program ends: writes what is deferred or pending. A file edited since a pending save failed is left
    /// alone.
    /// @throws like save(), and what loading throws.
    void saveBeforeQuit();

    /// The properties changed since the last call: config, draftConfig, configFileError and editedFileNotice.
    ModelChanges takeChanges() { return changes.take(); }

private:
    struct DeferredSave {
        AppConfig checked;

        /// As they were when the save was deferred.
        AppConfig applied;
        AppConfig draft;
    };

    bool adopt(const AppConfig& fromFile);
    void write(const AppConfig& config);
    void keepEditedFileAside(const AppConfig& toBeWritten);

    std::shared_ptr<const TavoStoring> store;
    AppConfig appliedConfig;
    AppConfig draftConfig;

    /// The file's content when it was last read or written.
    AppConfig inFile;
    std::optional<DeferredSave> deferredSave;

    /// The error of a save that failed. The applied configuration is the one to be saved.
    std::optional<std::string> pendingSave;
    std::optional<std::string> fileErrorText;
    std::optional<std::string> editedFileNoticeText;
    ModelChangeRecord changes;
};

} // namespace tavo
