#pragma once

#include "app/views/ModelObserver.h"
#include "app/views/NoticeList.h"
#include "app/views/TavoButton.h"

#include <QWidget>
#include <functional>

namespace tavo {

/// The first view of the window: what Tavo is, and the button to switch it on.
class TavoWelcomeView final : public QWidget {
public:
    TavoWelcomeView(ModelObserver& observer, const QString& machineNoun, std::function<void()> openSettings,
                    QWidget* parent = nullptr);

    /// Shows a sentence for as long as this view lives.
    void setHint(const QString& hint);

private:
    void showModel();

    ModelObserver& observer;
    TavoButton* toggleButton;
    NoticeList* notices;
    QString hintText;
};

} // namespace tavo
