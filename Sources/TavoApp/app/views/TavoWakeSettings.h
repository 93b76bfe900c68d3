#pragma once

#include "app/views/ModelObserver.h"
#include "app/views/SegmentButton.h"
#include "app/views/SettingsRows.h"
#include "app/views/TextField.h"

#include <QWidget>

namespace tavo {

/// When to keep awake: edits the draft.
class TavoWakeSettings final : public QWidget {
public:
    explicit TavoWakeSettings(ModelObserver& observer, QWidget* parent = nullptr);

private:
    void showModel(ModelChanges changes);
    void edit(const AppConfig& draft) { observer.model().editDraft(draft); }
    const AppConfig& draft() const { return observer.model().draftConfig(); }
    void chooseStrategy(TriggerMatchStrategy strategy);

    ModelObserver& observer;
    SettingsPickerRow* presetRow;
    SegmentButton* executableChoice;
    SegmentButton* commandChoice;
    SettingsControlRow* customRow;
    TextField* processField;
    SettingsControlRow* processRow;
    SettingsToggleRow* closedLidRow;
    SettingsToggleRow* batteryRow;
    TextField* cutoffField;
    SettingsControlRow* cutoffRow;
};

} // namespace tavo
