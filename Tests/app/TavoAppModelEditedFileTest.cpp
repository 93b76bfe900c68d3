#include "app/TavoAppModelTesting.h"

namespace tavo {
namespace {

/// A configuration file that is edited by hand between two evaluations.
class EditedFileTest : public TavoAppModelTest {
protected:
    EditedFileTest() {
        administrator->onRun = [this] { installHelper(); };
    }
};

TEST_F(EditedFileTest, PausingAdoptsAnEditOfTheFileAndPauses) {
    startWith(enabled());
    for (const bool isEnabledInFile : {true, false}) {
        auto edited = watching(TriggerPreset::codex);
        edited.isEnabled = isEnabledInFile;
        edited.batteryCutoffPercent = 33;
        store->saveConfig(edited);
        model->toggleEnabled();
        edited.isEnabled = false;
        EXPECT_EQ(store->loadConfig(), edited) << isEnabledInFile;
        EXPECT_EQ(model->config(), edited);
        EXPECT_EQ(model->draftConfig(), edited);
        EXPECT_EQ(model->runtimeSnapshot().lastDecisionReason, Reason::disabled);
        EXPECT_EQ(model->editedFileNotice(), std::nullopt);
        model->toggleEnabled();
    }
}

TEST_F(EditedFileTest, EnablingAdoptsAnEditOfTheFileAndEnables) {
    startWith({});
    auto edited = enabled();
    edited.batteryCutoffPercent = 33;
    edited.watchMode = WatchMode::open;
    store->saveConfig(edited);
    model->toggleEnabled();
    EXPECT_TRUE(model->config().isEnabled) << "the file was switched on already, and that is what was pressed";
    EXPECT_EQ(model->config().batteryCutoffPercent, 33);
    EXPECT_EQ(store->loadConfig(), model->config());
}

TEST_F(EditedFileTest, WithUnsavedEditsAnEditedFileIsKeptAsideWhenPausingAndTheUserIsTold) {
    startWith(enabled());
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 44; });
    auto edited = watching(TriggerPreset::codex);
    edited.batteryCutoffPercent = 33;
    store->saveConfig(edited);
    const auto text = configText();
    model->toggleEnabled();
    EXPECT_FALSE(model->config().isEnabled);
    EXPECT_EQ(model->config().batteryCutoffPercent, AppConfig::defaultBatteryCutoffPercent);
    EXPECT_EQ(model->draftConfig().batteryCutoffPercent, 44);
    EXPECT_EQ(store->loadConfig(), model->config());
    EXPECT_EQ(fileContent(folder.path() / "config.json.edited"), text);
    EXPECT_EQ(model->editedFileNotice(),
              "config.json was edited while the settings here were not saved; the edited file is not in force, and is "
              "kept as config.json.edited.");
    loop->advance(std::chrono::minutes{3});
    EXPECT_TRUE(model->editedFileNotice()) << "until the user goes on";
    model->revertDraft();
    EXPECT_EQ(model->editedFileNotice(), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "config.json.edited.2"));
}

TEST_F(EditedFileTest, SavingTheDraftKeepsAnEditedFileAside) {
    startWith({});
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 44; });
    store->saveConfig(enabled());
    const auto text = configText();
    model->saveDraft();
    EXPECT_EQ(store->loadConfig().batteryCutoffPercent, 44);
    EXPECT_FALSE(model->config().isEnabled);
    EXPECT_EQ(fileContent(folder.path() / "config.json.edited"), text);
    EXPECT_TRUE(model->editedFileNotice());
    EXPECT_TRUE(has(changes.back(), ModelProperty::editedFileNotice));
}

TEST_F(EditedFileTest, AnUnreadableEditIsKeptAsideAndPausingPauses) {
    startWith(enabled());
    folder.write("config.json", "{");
    model->toggleEnabled();
    EXPECT_FALSE(model->config().isEnabled);
    EXPECT_FALSE(store->loadConfig().isEnabled);
    EXPECT_EQ(fileContent(folder.path() / "config.json.unreadable"), "{");
}

TEST_F(EditedFileTest, AnEditMadeWhileTheHelperIsInstalledIsAdoptedWithThePermission) {
    startWith({});
    model->installHelper();
    auto edited = enabled();
    edited.batteryCutoffPercent = 33;
    store->saveConfig(edited);
    loop->runPosted();
    edited.closedLidPermissionGranted = true;
    EXPECT_EQ(store->loadConfig(), edited);
    EXPECT_EQ(model->config(), edited);
    EXPECT_TRUE(model->runtimeSnapshot().isWakeAssertionActive);
}

TEST_F(EditedFileTest, WithUnsavedEditsAnEditMadeWhileTheHelperIsInstalledIsKeptAside) {
    startWith({});
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 44; });
    model->installHelper();
    store->saveConfig(enabled());
    const auto text = configText();
    loop->runPosted();
    EXPECT_EQ(fileContent(folder.path() / "config.json.edited"), text);
    EXPECT_FALSE(model->config().isEnabled);
    EXPECT_TRUE(store->loadConfig().closedLidPermissionGranted);
    EXPECT_TRUE(model->editedFileNotice());
}

} // namespace
} // namespace tavo
