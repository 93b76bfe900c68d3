#pragma once

#include "app/TavoAppModel.h"

#include <QObject>
#include <memory>

namespace tavo {

/// Passes the model's announcements on to any number of views.
class ModelObserver final : public QObject {
    Q_OBJECT

public:
    explicit ModelObserver(const std::shared_ptr<TavoAppModel>& model) : observed(model) {
        model->onChange([this](ModelChanges changes) { Q_EMIT changed(changes); });
    }

    TavoAppModel& model() const { return *observed; }

    /// Shows the settings window with the settings instead of the welcome view.
    void showSettings() {
        observed->openSettings();
        Q_EMIT settingsAsked();
    }

Q_SIGNALS:
    void changed(tavo::ModelChanges changes);
    void settingsAsked();

private:
    std::shared_ptr<TavoAppModel> observed;
};

} // namespace tavo
