#include "app/ConfigurationDocumentTesting.h"

#include <sys/resource.h>

#include <csignal>
#include <system_error>

namespace tavo {
namespace {

/// While this lives, no file can grow beyond a few bytes, as on a disk that is full.
class FullDisk {
public:
    FullDisk() {
        getrlimit(RLIMIT_FSIZE, &before);
        auto limit = before;
        limit.rlim_cur = 4;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

private:
    void (*handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
};

TEST(EditedConfigFile, EachOneIsKeptUnderANameOfItsOwn) {
    const TemporaryDirectory folder;
    const TavoPaths paths{folder.path()};
    folder.write("config.json", "first");
    EXPECT_EQ(keepEditedConfigAside(paths), folder.path() / "config.json.edited");
    folder.write("config.json", "second");
    EXPECT_EQ(keepEditedConfigAside(paths), folder.path() / "config.json.edited.2");
    EXPECT_EQ(fileContent(folder.path() / "config.json.edited"), "first");
    EXPECT_EQ(fileContent(folder.path() / "config.json.edited.2"), "second");
    EXPECT_EQ(fileContent(folder.path() / "config.json"), "second");
}

TEST(EditedConfigFile, WithoutAFileThereIsNothingToKeep) {
    const TemporaryDirectory folder;
    EXPECT_EQ(keepEditedConfigAside(TavoPaths{folder.path()}), std::nullopt);
}

TEST(EditedConfigFile, AFileThatCannotBeReadIsAnError) {
    const TemporaryDirectory folder;
    std::filesystem::create_directory(folder.path() / "config.json");
    EXPECT_THROW(keepEditedConfigAside(TavoPaths{folder.path()}), std::system_error);
}

TEST(EditedConfigFile, OnAFullDiskNoCopiesPileUpAndTheFileStaysAsItIs) {
    const TemporaryDirectory folder;
    folder.write("config.json", "edited by hand");
    for (int attempt = 0; attempt < 3; ++attempt) {
        const FullDisk full;
        EXPECT_THROW(keepEditedConfigAside(TavoPaths{folder.path()}), std::system_error);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
    EXPECT_EQ(fileContent(folder.path() / "config.json"), "edited by hand");
}

TEST_F(ConfigurationDocumentTest, WithoutUnsavedEditsAnEditedFileIsAdopted) {
    startWith(with(33));
    for (const int cutoff : {44, 55}) {
        file->saveConfig(with(cutoff));
        EXPECT_TRUE(cutoff == 44 ? document->reload() : document->adoptEditedFile());
        expectApplied(with(cutoff));
        EXPECT_EQ(document->takeChanges(), both);
        EXPECT_FALSE(document->reload());
        EXPECT_FALSE(document->adoptEditedFile());
    }
}

TEST_F(ConfigurationDocumentTest, AFileThatIsRemovedMeansTheDefault) {
    startWith(with(33));
    std::filesystem::remove(folder.path() / "config.json");
    EXPECT_TRUE(document->reload());
    expectApplied(AppConfig::defaultConfig());
}

TEST_F(ConfigurationDocumentTest, WithUnsavedEditsAnEditedFileWaitsUntilTheyAreReverted) {
    startWith(with(33));
    editCutoff(44);
    file->saveConfig(with(55));
    EXPECT_FALSE(document->reload());
    EXPECT_FALSE(document->adoptEditedFile());
    EXPECT_EQ(document->applied(), with(33));
    EXPECT_EQ(document->draft(), with(44));
    document->revert();
    EXPECT_TRUE(document->reload());
    expectApplied(with(55));
}

TEST_F(ConfigurationDocumentTest, WithUnsavedEditsSavingKeepsAnEditedFileAsideAndSaysWhere) {
    startWith(with(33));
    editCutoff(44);
    file->saveConfig(with(55));
    const auto edited = text();
    document->apply(document->draft());
    document->takeChanges();
    document->save();
    EXPECT_EQ(file->loadConfig(), with(44));
    EXPECT_EQ(fileContent(folder.path() / "config.json.edited"), edited);
    EXPECT_EQ(document->editedFileNotice(),
              "config.json was edited while the settings here were not saved; the edited file is not in force, and is "
              "kept as config.json.edited.");
    EXPECT_EQ(document->takeChanges(), bits(ModelProperty::editedFileNotice));
    document->dismissEditedFileNotice();
    EXPECT_EQ(document->editedFileNotice(), std::nullopt);
    EXPECT_EQ(document->takeChanges(), bits(ModelProperty::editedFileNotice));
}

TEST_F(ConfigurationDocumentTest, AFileEditedToWhatIsBeingSavedIsNotKeptAside) {
    startWith(with(33));
    editCutoff(44);
    file->saveConfig(with(44));
    document->apply(document->draft());
    document->save();
    EXPECT_FALSE(exists("config.json.edited"));
    EXPECT_EQ(document->editedFileNotice(), std::nullopt);
}

TEST_F(ConfigurationDocumentTest, AnEditedFileIsKeptAsideOnceHoweverOftenTheSaveIsRetried) {
    startWith(with(33));
    editCutoff(44);
    file->saveConfig(with(55));
    document->apply(document->draft());
    saveOnFullDisk();
    saveOnFullDisk();
    EXPECT_TRUE(exists("config.json.edited"));
    EXPECT_TRUE(document->reload());
    EXPECT_EQ(file->loadConfig(), with(44));
    EXPECT_FALSE(exists("config.json.edited.2"));
}

TEST_F(ConfigurationDocumentTest, AFileThatTurnsUnreadableKeepsTheConfigurationAndSaysWhy) {
    startWith(with(33));
    folder.write("config.json", "{");
    EXPECT_FALSE(document->adoptEditedFile());
    EXPECT_EQ(document->fileError(), std::nullopt) << "not before somebody reloads it";
    EXPECT_THROW(document->reload(), std::exception);
    EXPECT_TRUE(document->fileError());
    EXPECT_EQ(document->takeChanges(), bits(ModelProperty::configFileError));
    expectApplied(with(33));
    file->saveConfig(with(33));
    EXPECT_FALSE(document->reload());
    EXPECT_EQ(document->fileError(), std::nullopt);
}

TEST_F(ConfigurationDocumentTest, ThePermissionIsSavedAndOtherEditsStayUnsaved) {
    startWith(with(33));
    editCutoff(44);
    document->saveClosedLidPermission(true);
    auto granted = with(33);
    granted.closedLidPermissionGranted = true;
    EXPECT_EQ(document->applied(), granted);
    EXPECT_EQ(file->loadConfig(), granted);
    EXPECT_EQ(document->draft().batteryCutoffPercent, 44);
    EXPECT_TRUE(document->draft().closedLidPermissionGranted);
}

TEST_F(ConfigurationDocumentTest, APermissionThatCannotBeSavedChangesNothing) {
    startWith(with(33));
    disk->hasNoRoomForConfig = true;
    EXPECT_THROW(document->saveClosedLidPermission(true), std::system_error);
    expectApplied(with(33));
    EXPECT_EQ(document->pendingSaveError(), std::nullopt);
}

TEST_F(ConfigurationDocumentTest, APermissionThatCannotBeSavedLeavesAPendingSavePending) {
    startWith(with(33));
    document->switchOff();
    saveOnFullDisk();
    editCutoff(44);
    file->saveConfig(with(55));
    disk->hasNoRoomForConfig = true;
    EXPECT_THROW(document->saveClosedLidPermission(true), std::system_error);
    EXPECT_TRUE(document->editedFileNotice()) << "the edited file is not in force";
    disk->hasNoRoomForConfig = false;
    document->revert();
    EXPECT_TRUE(document->reload());
    EXPECT_EQ(file->loadConfig(), with(33, false));
}

class DeferredSaveTest : public ConfigurationDocumentTest {
protected:
    static AppConfig launching(AppConfig config) {
        config.launchAtLoginEnabled = true;
        return config;
    }

    void defer() {
        document->edit(launching(with(44)));
        document->deferSave(document->draft().validated());
        EXPECT_TRUE(document->hasDeferredSave());
    }
};

TEST_F(DeferredSaveTest, IsAppliedLater) {
    startWith(with(33));
    defer();
    EXPECT_EQ(document->applied(), with(33));
    EXPECT_EQ(file->loadConfig(), with(33));
    document->applyDeferredSave();
    EXPECT_FALSE(document->hasDeferredSave());
    expectApplied(launching(with(44)));
}

TEST_F(DeferredSaveTest, IsForgottenWhenItIsCancelledAndTheEditsStay) {
    startWith(with(33));
    defer();
    document->cancelDeferredSave();
    EXPECT_FALSE(document->hasDeferredSave());
    EXPECT_EQ(document->applied(), with(33));
    EXPECT_EQ(document->draft(), launching(with(44)));
    document->saveBeforeQuit();
    EXPECT_EQ(file->loadConfig(), with(33));
}

TEST_F(DeferredSaveTest, DoesNotSaveWhatWasEditedSince) {
    startWith(with(33));
    defer();
    editCutoff(55);
    document->applyDeferredSave();
    EXPECT_EQ(document->applied(), launching(with(33)));
    EXPECT_EQ(document->draft(), launching(with(55)));
}

TEST_F(DeferredSaveTest, DoesNotUndoWhatWasSwitchedSince) {
    startWith(with(33));
    defer();
    document->switchOff();
    document->applyDeferredSave();
    EXPECT_EQ(document->applied(), launching(with(33, false)));
    EXPECT_EQ(document->draft(), launching(with(44, false))) << "still to be saved";
}

TEST_F(DeferredSaveTest, AdoptsAFileEditedMeanwhileWhenTheEditsWereReverted) {
    startWith(with(33));
    defer();
    document->revert();
    file->saveConfig(with(55));
    document->applyDeferredSave();
    expectApplied(launching(with(55)));
}

TEST_F(DeferredSaveTest, KeepsAFileEditedMeanwhileAside) {
    startWith(with(33));
    defer();
    file->saveConfig(with(55));
    document->applyDeferredSave();
    document->save();
    EXPECT_EQ(file->loadConfig(), launching(with(44)));
    EXPECT_TRUE(exists("config.json.edited"));
}

TEST_F(DeferredSaveTest, IsWrittenBeforeAQuit) {
    startWith(with(33));
    defer();
    document->saveBeforeQuit();
    EXPECT_EQ(file->loadConfig(), launching(with(44)));
    EXPECT_FALSE(document->hasDeferredSave());
}

} // namespace
} // namespace tavo
