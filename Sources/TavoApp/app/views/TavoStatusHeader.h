#pragma once

#include "app/views/BatteryStatusBadgeView.h"
#include "app/views/Labels.h"
#include "app/views/ModelObserver.h"

#include <QWidget>

namespace tavo {

/// Tavo's status and the battery.
class TavoStatusHeader final : public QWidget {
public:
    explicit TavoStatusHeader(ModelObserver& observer, QWidget* parent = nullptr);

private:
    void showModel();

    ModelObserver& observer;
    ElidedLabel* titleLabel;
    ElidedLabel* detailLabel;
    BatteryStatusBadgeView* badge;
};

} // namespace tavo
