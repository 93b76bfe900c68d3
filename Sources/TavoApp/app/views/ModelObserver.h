#pragma once

#include "app/TavoAppModel.h"

#include <QObject>
#include <memory>

namespace tavo {

/// Tells every view of what the model says once.
class ModelObserver final : public QObject {
    Q_OBJECT

public:
    explicit ModelObserver(const std::shared_ptr<TavoAppModel>& model) : observed(model) {
        model->onChange([this](ModelChanges changes) { Q_EMIT changed(changes); });
    }

    TavoAppModel& model() const { return *observed; }

    /// Shows the settings window for somebody who has asked for the settings: it is not to welcome.
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
