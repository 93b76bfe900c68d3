#include "config/TavoStore.h"

#include "Support/TemporaryDirectory.h"
#include "base/JsonCoding.h"
#include "config/TavoValidationError.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <system_error>

namespace tavo {
namespace {

class TavoStoreTest : public testing::Test {
protected:
    TemporaryDirectory folder;
    TavoStore store{TavoPaths{folder.path() / "a" / "Tavo"}};
    std::filesystem::path root = folder.path() / "a" / "Tavo";

    void writeConfig(const std::string& text) const { folder.write("a/Tavo/config.json", text); }
    std::string configText() const { return fileContent(root / "config.json"); }
};

RuntimeSnapshot fullSnapshot() {
    return {.isEnabled = true,
            .isWakeAssertionActive = true,
            .lastEvaluationDate = parseISO8601("2026-01-31T09:05:00Z"),
            .lastDecisionReason = RuntimeDecisionReason::error,
            .matchedProcesses = {{.pid = 7, .executableName = "codex", .commandLine = "codex --yes"},
                                 {.pid = 8, .executableName = "ghost", .commandLine = {}}},
            .lastError = "something failed."};
}

TEST_F(TavoStoreTest, AFreshRootGivesDefaultsAndIsNotCreated) {
    EXPECT_EQ(store.loadConfig(), AppConfig::defaultConfig());
    EXPECT_EQ(store.loadRuntimeSnapshot(), RuntimeSnapshot::idle());
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "a"));
}

TEST_F(TavoStoreTest, SavingMakesTheFoldersAndReadsBackEqual) {
    AppConfig config;
    config.isEnabled = true;
    config.watchMode = WatchMode::both;
    config.batteryCutoffPercent = std::nullopt;
    config.trigger = defaultRule(TriggerPreset::claudeCode);
    store.saveConfig(config);
    EXPECT_EQ(store.loadConfig(), config);
}

TEST_F(TavoStoreTest, AnAbsentCutoffIsWrittenBackAsNull) {
    writeConfig(R"({"isEnabled": false, "watchMode": "open", "powerSourcePolicy": "any", "maxAwakeDuration": "none",
                    "batteryCutoffPercent": null, "pollIntervalSeconds": 60, "trigger": {"preset": "always"},
                    "launchAtLoginEnabled": false})");
    const auto config = store.loadConfig();
    EXPECT_EQ(config.batteryCutoffPercent, std::nullopt);
    EXPECT_TRUE(config.closedLidPermissionGranted);
    store.saveConfig(config);
    EXPECT_NE(configText().find("\"batteryCutoffPercent\": null"), std::string::npos) << configText();
}

TEST_F(TavoStoreTest, APollIntervalOfTenIsSavedAsSixty) {
    AppConfig config;
    config.pollIntervalSeconds = 10;
    store.saveConfig(config);
    EXPECT_EQ(parseJson(configText()).at("pollIntervalSeconds"), 60);
}

TEST_F(TavoStoreTest, WhatIsInvalidIsNotSavedAndTheFileStays) {
    store.saveConfig({});
    const auto before = configText();
    AppConfig config;
    config.batteryCutoffPercent = 101;
    EXPECT_THROW(store.saveConfig(config), TavoValidationError);
    EXPECT_EQ(configText(), before);
}

TEST_F(TavoStoreTest, WhatIsInvalidMakesNoFolder) {
    AppConfig config;
    config.trigger = {.mode = TriggerMode::process};
    EXPECT_THROW(store.saveConfig(config), TavoValidationError);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "a"));
}

TEST_F(TavoStoreTest, ABadFileIsADecodingErrorAndStaysAsItIs) {
    for (const auto* text : {"[]", "", "{", "{}", "null", "\"config\"", "{\"isEnabled\": tru}", "\xFF\xFE",
                             "{} trailing", "[[[[[[[[", "{\"isEnabled\": 99999999999999999999999}"}) {
        writeConfig(text);
        EXPECT_THROW(store.loadConfig(), DecodingError) << text;
        EXPECT_EQ(configText(), text);
    }
}

TEST_F(TavoStoreTest, TheErrorOfAnArrayNamesWhatWasExpected) {
    writeConfig("[]");
    try {
        store.loadConfig();
        FAIL() << "an array passed";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.kind(), DecodingError::Kind::typeMismatch);
        EXPECT_EQ(error.description(), "expected an object but found an array.");
    }
}

TEST_F(TavoStoreTest, TextThatIsNoJsonIsLocated) {
    writeConfig("{\n  \"isEnabled\": maybe\n}");
    try {
        store.loadConfig();
        FAIL() << "no JSON passed";
    } catch (const DecodingError& error) {
        EXPECT_NE(error.description().find("line 2, column 16"), std::string::npos) << error.description();
    }
}

TEST_F(TavoStoreTest, AnInvalidFileIsAValidationError) {
    AppConfig config;
    Json json(config);
    json["batteryCutoffPercent"] = 0;
    writeConfig(json.dump());
    EXPECT_THROW(store.loadConfig(), TavoValidationError);
}

TEST_F(TavoStoreTest, AFolderInTheFilesPlaceIsAReadError) {
    std::filesystem::create_directories(root / "config.json");
    std::filesystem::create_directories(root / "state.json");
    EXPECT_THROW(store.loadConfig(), std::system_error);
    EXPECT_THROW(store.loadRuntimeSnapshot(), std::system_error);
}

TEST_F(TavoStoreTest, AsWrittenIsBeforeValidation) {
    auto config = AppConfig::defaultConfig();
    config.pollIntervalSeconds = 5;
    config.trigger.query = "left over";
    writeConfig(prettyJson(config));
    EXPECT_EQ(store.loadConfigAsWritten(), config);
    EXPECT_EQ(store.loadConfig(), AppConfig::defaultConfig());
    EXPECT_EQ(TavoStore(TavoPaths{folder.path() / "nowhere"}).loadConfigAsWritten(), AppConfig::defaultConfig());
}

TEST_F(TavoStoreTest, AFileThatCannotBeLoadedIsKeptAsideByTheNextSave) {
    for (const std::string text : {"{", R"({"isEnabled": 1})", ""}) {
        SCOPED_TRACE(text);
        std::filesystem::remove_all(root);
        writeConfig(text);
        store.saveConfig(AppConfig::defaultConfig());
        EXPECT_EQ(fileContent(root / "config.json.unreadable"), text);
        EXPECT_EQ(store.loadConfig(), AppConfig::defaultConfig());
    }
}

TEST_F(TavoStoreTest, AnInvalidFileIsKeptAsideToo) {
    auto invalid = AppConfig::defaultConfig();
    invalid.batteryCutoffPercent = 0;
    writeConfig(prettyJson(invalid));
    store.saveConfig(AppConfig::defaultConfig());
    EXPECT_EQ(fileContent(root / "config.json.unreadable"), prettyJson(invalid));
}

TEST_F(TavoStoreTest, WhatIsAsideAlreadyIsNeverReplaced) {
    for (const std::string text : {"first", "second", "third"}) {
        writeConfig(text);
        store.saveConfig(AppConfig::defaultConfig());
    }
    EXPECT_EQ(fileContent(root / "config.json.unreadable"), "first");
    EXPECT_EQ(fileContent(root / "config.json.unreadable.2"), "second");
    EXPECT_EQ(fileContent(root / "config.json.unreadable.3"), "third");
}

TEST_F(TavoStoreTest, WhatALinkLeadsToIsKeptAsideAndTheLinkStays) {
    const auto target = folder.write("dotfiles/tavo.json", "mine {");
    std::filesystem::create_directories(root);
    std::filesystem::create_symlink(target, root / "config.json");
    store.saveConfig(AppConfig::defaultConfig());
    EXPECT_EQ(fileContent(root / "config.json.unreadable"), "mine {");
    EXPECT_FALSE(std::filesystem::is_symlink(root / "config.json.unreadable"));
    EXPECT_TRUE(std::filesystem::is_symlink(root / "config.json"));
    EXPECT_EQ(fileContent(target), configText());
    EXPECT_EQ(store.loadConfig(), AppConfig::defaultConfig());
}

TEST_F(TavoStoreTest, ALinkToAFileThatIsNotThereYetStays) {
    std::filesystem::create_directories(root);
    std::filesystem::create_directories(folder.path() / "dotfiles");
    std::filesystem::create_symlink("../../dotfiles/tavo.json", root / "config.json");
    store.saveConfig(AppConfig::defaultConfig());
    EXPECT_TRUE(std::filesystem::is_symlink(root / "config.json"));
    EXPECT_NE(fileContent(folder.path() / "dotfiles/tavo.json"), "");
}

TEST_F(TavoStoreTest, AFileThatCanBeLoadedIsSimplyReplaced) {
    store.saveConfig(AppConfig::defaultConfig());
    store.saveConfig(AppConfig::defaultConfig());
    EXPECT_FALSE(std::filesystem::exists(root / "config.json.unreadable"));
}

TEST_F(TavoStoreTest, WithWhatIsInvalidNothingIsKeptAsideEither) {
    writeConfig("{");
    auto invalid = AppConfig::defaultConfig();
    invalid.batteryCutoffPercent = 101;
    EXPECT_THROW(store.saveConfig(invalid), TavoValidationError);
    EXPECT_EQ(configText(), "{");
    EXPECT_FALSE(std::filesystem::exists(root / "config.json.unreadable"));
}

TEST_F(TavoStoreTest, AFolderInTheFilesPlaceIsNotSavedOver) {
    std::filesystem::create_directories(root / "config.json");
    EXPECT_THROW(store.saveConfig(AppConfig::defaultConfig()), std::system_error);
    EXPECT_TRUE(std::filesystem::is_directory(root / "config.json"));
}

TEST_F(TavoStoreTest, AFileBeyondOneMebibyteIsRefusedAndKeptAside) {
    store.saveConfig({});
    const auto valid = configText();
    writeConfig(valid + std::string((std::size_t{1} << 20U) - valid.size(), ' '));
    EXPECT_EQ(store.loadConfig(), AppConfig::defaultConfig());
    std::filesystem::resize_file(root / "config.json", std::uintmax_t{1} << 40U); // a hole takes no space on the disk
    try {
        store.loadConfig();
        FAIL() << "a file of a tebibyte passed";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.description(), "the file is larger than 1 MiB, which no configuration is.");
    }
    store.saveConfig({});
    EXPECT_EQ(store.loadConfig(), AppConfig::defaultConfig());
    EXPECT_EQ(std::filesystem::file_size(root / "config.json.unreadable"), std::uintmax_t{1} << 40U);
}

TEST_F(TavoStoreTest, AStateBeyondSixtyFourMebibytesIsRefusedAndReplaced) {
    store.saveRuntimeSnapshot(fullSnapshot());
    std::filesystem::resize_file(root / "state.json", std::uintmax_t{1} << 40U); // a hole takes no space on the disk
    try {
        store.loadRuntimeSnapshot();
        FAIL() << "a file of a tebibyte passed";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.description(), "the file is larger than 64 MiB, which no state is.");
    }
    store.saveRuntimeSnapshot(fullSnapshot());
    EXPECT_EQ(store.loadRuntimeSnapshot(), fullSnapshot());
}

TEST_F(TavoStoreTest, AFileThatIsNestedBeyondReasonIsRefused) {
    auto json = Json(AppConfig::defaultConfig());
    const auto nested = [](std::size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); };
    json["unknown"] = parseJson(nested(63));
    writeConfig(json.dump());
    EXPECT_EQ(store.loadConfig(), AppConfig::defaultConfig());
    for (const std::string open : {"[", "{\"a\":"}) {
        std::string deep;
        while (deep.size() < (std::size_t{1} << 20U) - open.size()) {
            deep += open;
        }
        writeConfig(deep);
        try {
            store.loadConfig();
            FAIL() << "a deep file passed";
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.description(), "the text is nested more than 64 levels deep.");
        }
    }
    EXPECT_NO_THROW(parseJson(nested(64)));
    EXPECT_THROW(parseJson(nested(65)), DecodingError);
}

TEST_F(TavoStoreTest, WhatALinkLeadsToIsKeptAsideEvenWhenItCannotBeRead) {
    const auto target = folder.write("dotfiles/tavo.json", "");
    std::filesystem::resize_file(target, std::uintmax_t{1} << 40U);
    std::filesystem::create_directories(root);
    std::filesystem::create_symlink(target, root / "config.json");
    store.saveConfig({});
    EXPECT_EQ(std::filesystem::symlink_status(root / "config.json.unreadable").type(),
              std::filesystem::file_type::regular);
    EXPECT_EQ(std::filesystem::file_size(root / "config.json.unreadable"), std::uintmax_t{1} << 40U);
    EXPECT_EQ(fileContent(target), configText());
}

TEST_F(TavoStoreTest, ASnapshotReadsBackEqual) {
    store.saveRuntimeSnapshot(fullSnapshot());
    EXPECT_EQ(store.loadRuntimeSnapshot(), fullSnapshot());
}

TEST_F(TavoStoreTest, FilesListTheirKeysSortedAndDatesAsISO8601) {
    store.saveRuntimeSnapshot(fullSnapshot());
    EXPECT_EQ(fileContent(root / "state.json"), R"({
  "isEnabled": true,
  "isWakeAssertionActive": true,
  "lastDecisionReason": "error",
  "lastError": "something failed.",
  "lastEvaluationDate": "2026-01-31T09:05:00Z",
  "matchedProcesses": [
    {
      "commandLine": "codex --yes",
      "executableName": "codex",
      "pid": 7
    },
    {
      "executableName": "ghost",
      "pid": 8
    }
  ]
}
)");
}

TEST_F(TavoStoreTest, MalformedBytesInACommandLineAreWrittenAsReplacementCharacters) {
    auto snapshot = fullSnapshot();
    snapshot.matchedProcesses = {{.pid = 1, .executableName = "a", .commandLine = "a \xFF"}};
    store.saveRuntimeSnapshot(snapshot);
    EXPECT_EQ(store.loadRuntimeSnapshot().matchedProcesses.at(0).commandLine, "a \uFFFD");
}

TEST_F(TavoStoreTest, FilesAndFolderAreTheUsersAlone) {
    store.saveConfig({});
    store.saveRuntimeSnapshot({});
    const auto permissions = [](const std::filesystem::path& path) {
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        return status.st_mode & 0777U;
    };
    EXPECT_EQ(permissions(root), 0700U);
    EXPECT_EQ(permissions(root / "config.json"), 0600U);
    EXPECT_EQ(permissions(root / "state.json"), 0600U);
}

} // namespace
} // namespace tavo
