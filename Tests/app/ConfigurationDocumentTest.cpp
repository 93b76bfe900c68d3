#include "app/ConfigurationDocumentTesting.h"

namespace tavo {
namespace {

TEST_F(ConfigurationDocumentTest, WithoutAFileTheDefaultIsAppliedAndNothingIsWritten) {
    load();
    expectApplied(AppConfig::defaultConfig());
    EXPECT_EQ(document->fileError(), std::nullopt);
    EXPECT_FALSE(exists("config.json"));
}

TEST_F(ConfigurationDocumentTest, WhatTheFileHoldsIsApplied) {
    startWith(with(33));
    expectApplied(with(33));
    EXPECT_FALSE(document->hasUnsavedEdits());
    EXPECT_EQ(document->takeChanges(), 0U) << "nobody has seen anything else yet";
}

TEST_F(ConfigurationDocumentTest, AFileThatValidationChangesIsWrittenBack) {
    writeWithPollInterval(5, 33);
    load();
    EXPECT_EQ(document->applied().pollIntervalSeconds, 60);
    EXPECT_EQ(file->loadConfigAsWritten(), document->applied());
}

TEST_F(ConfigurationDocumentTest, AFileThatCannotBeWrittenBackIsAppliedAllTheSame) {
    writeWithPollInterval(5, 33);
    disk->hasNoRoomForConfig = true;
    load();
    EXPECT_EQ(document->applied().batteryCutoffPercent, 33);
    EXPECT_EQ(document->fileError(), std::nullopt);
    EXPECT_EQ(document->pendingSaveError(), std::nullopt);
}

TEST_F(ConfigurationDocumentTest, AnUnreadableFileMeansTheDefaultAndStaysAsItIs) {
    for (const auto* content : {"{", "[]"}) {
        folder.write("config.json", content);
        load();
        expectApplied(AppConfig::defaultConfig());
        EXPECT_TRUE(document->fileError()) << content;
        EXPECT_EQ(text(), content);
    }
}

TEST_F(ConfigurationDocumentTest, AnInvalidFileMeansTheDefaultAndStaysAsItIs) {
    writeWithPollInterval(60, 0);
    const auto before = text();
    load();
    expectApplied(AppConfig::defaultConfig());
    EXPECT_EQ(document->fileError(), "battery cutoff percent must be between 1 and 100. received 0.");
    EXPECT_EQ(text(), before);
}

TEST_F(ConfigurationDocumentTest, AnEditChangesTheDraftAlone) {
    startWith(with(33));
    editCutoff(44);
    EXPECT_EQ(document->applied(), with(33));
    EXPECT_EQ(document->draft(), with(44));
    EXPECT_TRUE(document->hasUnsavedEdits());
    EXPECT_EQ(file->loadConfig(), with(33));
    EXPECT_EQ(document->takeChanges(), bits(ModelProperty::draftConfig));
    EXPECT_EQ(document->takeChanges(), 0U);
}

TEST_F(ConfigurationDocumentTest, ADraftMayBeInvalidAndRevertingDiscardsIt) {
    startWith(with(33));
    editCutoff(0);
    EXPECT_EQ(document->draft(), with(0));
    EXPECT_EQ(document->applied(), with(33));
    document->revert();
    expectApplied(with(33));
}

TEST_F(ConfigurationDocumentTest, AnInvalidConfigurationIsNotWritten) {
    startWith(with(33));
    const auto before = text();
    document->apply(with(0));
    EXPECT_THROW(document->save(), std::exception);
    EXPECT_EQ(text(), before);
}

TEST_F(ConfigurationDocumentTest, ApplyingTheDraftItselfLeavesNoUnsavedEdits) {
    startWith(with(33));
    editCutoff(44);
    document->apply(document->draft());
    expectApplied(with(44));
    EXPECT_EQ(document->takeChanges(), both);
}

TEST_F(ConfigurationDocumentTest, SwitchingOffLeavesOtherEditsAlone) {
    startWith(with(33));
    editCutoff(44);
    document->switchOff();
    EXPECT_EQ(document->applied(), with(33, false));
    EXPECT_EQ(document->draft(), with(44, false));
}

TEST_F(ConfigurationDocumentTest, SavingWritesTheAppliedConfigurationAndNotTheDraft) {
    startWith(with(33));
    document->apply(with(44));
    editCutoff(55);
    document->save();
    EXPECT_EQ(file->loadConfig(), with(44));
    EXPECT_EQ(document->pendingSaveError(), std::nullopt);
}

TEST_F(ConfigurationDocumentTest, SavingReplacesAnUnreadableFileWhichIsKeptAside) {
    folder.write("config.json", "{");
    load();
    document->save();
    EXPECT_EQ(document->fileError(), std::nullopt);
    EXPECT_EQ(document->takeChanges(), bits(ModelProperty::configFileError));
    EXPECT_EQ(file->loadConfig(), AppConfig::defaultConfig());
    EXPECT_EQ(fileContent(folder.path() / "config.json.unreadable"), "{");
    EXPECT_EQ(document->editedFileNotice(), std::nullopt);
}

TEST_F(ConfigurationDocumentTest, ASaveThatFailsIsRetriedAndTheOlderFileIsNotAdoptedMeanwhile) {
    startWith(with(33));
    document->switchOff();
    saveOnFullDisk();
    EXPECT_EQ(document->pendingSaveError(), diskFull);
    EXPECT_FALSE(document->adoptEditedFile());
    EXPECT_EQ(document->applied(), with(33, false));
    disk->hasNoRoomForConfig = true;
    EXPECT_THROW(document->reload(), std::system_error);
    EXPECT_EQ(document->pendingSaveError(), diskFull);
    EXPECT_EQ(document->fileError(), std::nullopt) << "the file can be read";
    disk->hasNoRoomForConfig = false;
    EXPECT_TRUE(document->reload());
    EXPECT_EQ(document->pendingSaveError(), std::nullopt);
    EXPECT_EQ(file->loadConfig(), with(33, false));
    EXPECT_FALSE(document->reload()) << "saved once";
}

TEST_F(ConfigurationDocumentTest, AFileEditedWhileASaveIsPendingIsAdopted) {
    startWith(with(33));
    document->switchOff();
    saveOnFullDisk();
    file->saveConfig(with(44));
    EXPECT_TRUE(document->reload());
    expectApplied(with(44));
    EXPECT_EQ(document->pendingSaveError(), std::nullopt);
    EXPECT_EQ(document->editedFileNotice(), std::nullopt);
}

TEST_F(ConfigurationDocumentTest, BeforeAQuitAPendingSaveIsRetried) {
    startWith(with(33));
    document->switchOff();
    saveOnFullDisk();
    document->saveBeforeQuit();
    EXPECT_EQ(file->loadConfig(), with(33, false));
}

TEST_F(ConfigurationDocumentTest, BeforeAQuitAFileEditedWhileASaveIsPendingIsLeftAlone) {
    startWith(with(33));
    document->switchOff();
    saveOnFullDisk();
    file->saveConfig(with(44));
    document->saveBeforeQuit();
    EXPECT_EQ(file->loadConfig(), with(44));
    EXPECT_FALSE(exists("config.json.edited"));
}

TEST_F(ConfigurationDocumentTest, BeforeAQuitAnUnreadableFileIsLeftAloneThoughASaveIsPending) {
    startWith(with(33));
    document->switchOff();
    saveOnFullDisk();
    folder.write("config.json", "{");
    EXPECT_THROW(document->saveBeforeQuit(), std::exception);
    EXPECT_EQ(text(), "{");
}

TEST_F(ConfigurationDocumentTest, BeforeAQuitNothingIsWrittenThatNobodySaved) {
    startWith(with(33));
    const auto before = text();
    editCutoff(44);
    document->saveBeforeQuit();
    EXPECT_EQ(text(), before);
}

} // namespace
} // namespace tavo
