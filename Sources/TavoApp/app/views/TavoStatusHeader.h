#pragma once

#include "app/views/ModelObserver.h"
#include "app/views/StatusViews.h"

#include <QLabel>
#include <QWidget>

namespace tavo {

/// What Tavo is doing, and the battery.
class TavoStatusHeader final : public QWidget {
public:
    explicit TavoStatusHeader(ModelObserver& observer, QWidget* parent = nullptr);

private:
    void show();

    ModelObserver& observer;
    QLabel* titleLabel;
    QLabel* detailLabel;
    BatteryStatusBadgeView* badge;
};

} // namespace tavo
