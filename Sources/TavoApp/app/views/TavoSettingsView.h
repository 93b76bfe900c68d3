#pragma once

#include "app/views/ModelObserver.h"
#include "app/views/NoticeList.h"

#include <QStackedLayout>
#include <QWidget>

namespace tavo {

class TavoWelcomeView;

/// The content of the settings window: the welcome view, and the settings.
class TavoSettingsView final : public QWidget {
public:
    TavoSettingsView(ModelObserver& observer, const QString& machineNoun, QWidget* parent = nullptr);

    bool showsSettings() const { return pages->currentIndex() == 1; }

    /// The settings are made when they are first shown.
    void setShowsSettings(bool shows);

    /// Shows a sentence above the footer, for as long as this view lives.
    void setHint(const QString& hint);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void showModel();
    QWidget* makeSettings();

    ModelObserver& observer;
    QWidget* background;
    TavoWelcomeView* welcome = nullptr;
    QStackedLayout* pages;
    NoticeList* notices = nullptr;
    QString hintText;
};

} // namespace tavo
