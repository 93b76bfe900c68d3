#pragma once

#include "Support/FailingStore.h"
#include "Support/TemporaryDirectory.h"
#include "app/ConfigurationDocument.h"
#include "base/JsonCoding.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace tavo {

constexpr const char* diskFull = "could not write: no space left on device.";

/// A document over a real file, on a disk that the test can fill up.
class ConfigurationDocumentTest : public testing::Test {
protected:
    TemporaryDirectory folder;
    std::shared_ptr<TavoStore> file = std::make_shared<TavoStore>(TavoPaths{folder.path()});
    std::shared_ptr<FailingStore> disk = std::make_shared<FailingStore>(file);
    std::optional<ConfigurationDocument> document;

    static AppConfig with(int cutoff, bool isEnabled = true) {
        AppConfig config;
        config.isEnabled = isEnabled;
        config.batteryCutoffPercent = cutoff;
        return config;
    }

    void load() { document.emplace(disk); }
    void startWith(const AppConfig& config) {
        file->saveConfig(config);
        load();
    }

    /// Writes a file as it may have been edited by hand, without validation.
    void writeWithPollInterval(int seconds, int cutoff) const {
        auto config = with(cutoff);
        config.pollIntervalSeconds = seconds;
        folder.write("config.json", prettyJson(config));
    }

    void editCutoff(int cutoff) {
        auto draft = document->draft();
        draft.batteryCutoffPercent = cutoff;
        document->edit(draft);
    }

    void saveOnFullDisk() {
        disk->hasNoRoomForConfig = true;
        EXPECT_THROW(document->save(), std::system_error);
        disk->hasNoRoomForConfig = false;
    }

    std::string text() const { return fileContent(folder.path() / "config.json"); }
    bool exists(const std::string& name) const { return std::filesystem::exists(folder.path() / name); }

    void expectApplied(const AppConfig& config) const {
        EXPECT_EQ(document->applied(), config);
        EXPECT_EQ(document->draft(), config);
    }
};

constexpr ModelChanges bits(ModelProperty first) {
    return static_cast<ModelChanges>(first);
}
constexpr ModelChanges bits(ModelProperty first, ModelProperty second) {
    return bits(first) | bits(second);
}
constexpr ModelChanges both = bits(ModelProperty::config, ModelProperty::draftConfig);

} // namespace tavo
