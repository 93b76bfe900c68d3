#pragma once

#include "app/views/ModelObserver.h"
#include "app/views/NoticeList.h"
#include "app/views/TavoButton.h"

#include <QWidget>
#include <functional>

namespace tavo {

/// What the window says first: what this is, and the one button that matters.
class TavoWelcomeView final : public QWidget {
public:
    TavoWelcomeView(ModelObserver& observer, const QString& machineNoun, std::function<void()> openSettings,
                    QWidget* parent = nullptr);

    /// A sentence that is said as long as this view lives.
    void setHint(const QString& hint);

private:
    void showModel();

    ModelObserver& observer;
    TavoButton* toggleButton;
    NoticeList* notices;
    QString hintText;
};

} // namespace tavo
