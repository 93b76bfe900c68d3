#pragma once

#include "Support/ScriptedSurroundings.h"
#include "app/views/ModelObserver.h"

#include <functional>
#include <memory>

namespace tavo {

/// A model for views to show, with everything around it scripted and a clock that the test moves.
class Stage : public ScriptedSurroundings {
public:
    /// Starts with a configuration.
    void begin(const AppConfig& config = {}) {
        store->saveConfig(config);
        model = TavoAppModel::make(loop, disk, platform(), application);
        observer = std::make_unique<ModelObserver>(model);
        model->start();
        loop->runPosted();
    }

    void edit(const std::function<void(AppConfig&)>& change) const {
        auto draft = model->draftConfig();
        change(draft);
        model->editDraft(draft);
    }

    std::shared_ptr<TavoAppModel> model;
    std::unique_ptr<ModelObserver> observer;
};

} // namespace tavo
