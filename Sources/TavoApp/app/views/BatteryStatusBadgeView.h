#pragma once

#include "app/StatusCopy.h"

#include <QWidget>

namespace tavo {

/// The charge as a drawing and in words.
class BatteryStatusBadgeView final : public QWidget {
public:
    explicit BatteryStatusBadgeView(QWidget* parent = nullptr);

    void setPowerStatus(const PowerStatus& status);
    QString text() const { return QString::fromStdString(badge.displayText()); }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    BatteryStatusBadge badge;
};

} // namespace tavo
