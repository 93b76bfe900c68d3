#pragma once

#include "Support/ScriptedSurroundings.h"
#include "app/TavoAppModel.h"
#include "base/WakeControlError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {

using testing::ElementsAre;
using testing::IsEmpty;
using Reason = RuntimeDecisionReason;
using HelperState = PrivilegedHelperInstallState;

constexpr bool has(ModelChanges changes, ModelProperty property) {
    return (changes & static_cast<ModelChanges>(property)) != 0;
}

/// A model with scripted surroundings, real files, and a clock that the test moves.
class TavoAppModelTest : public testing::Test, protected ScriptedSurroundings {
protected:
    std::vector<ModelChanges> changes;
    std::shared_ptr<TavoAppModel> model;

    void make() {
        model = TavoAppModel::make(loop, disk, platform(), application);
        model->onChange([this](ModelChanges changed) { changes.push_back(changed); });
    }

    static AppConfig enabled() {
        AppConfig config;
        config.isEnabled = true;
        return config;
    }

    static AppConfig watching(TriggerPreset preset) {
        auto config = enabled();
        config.trigger = defaultRule(preset);
        return config;
    }

    static AppConfig enabledWithLidClosed() {
        auto config = enabled();
        config.watchMode = WatchMode::closed;
        return config;
    }

    void startWith(const AppConfig& config) {
        store->saveConfig(config);
        make();
        model->start();
        loop->runPosted();
    }

    /// Edits the draft as the settings window does.
    void edit(const std::function<void(AppConfig&)>& change) {
        auto draft = model->draftConfig();
        change(draft);
        model->editDraft(draft);
    }

    /// The commands that the helper was sent, without the pings.
    std::vector<PrivilegedHelperCommand> asked() {
        auto commands = std::exchange(helper->commands, {});
        std::erase(commands, PrivilegedHelperCommand::ping());
        return commands;
    }

    RuntimeSnapshot saved() const { return store->loadRuntimeSnapshot(); }
    std::string configText() const { return fileContent(store->paths().configURL()); }
};

} // namespace tavo
