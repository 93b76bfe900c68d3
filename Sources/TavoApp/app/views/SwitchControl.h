#pragma once

#include "app/views/ControlPainting.h"

#include <QCheckBox>

namespace tavo {

/// A switch: a check box with another look.
class SwitchControl final : public QCheckBox {
public:
    explicit SwitchControl(QWidget* parent = nullptr);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint& position) const override { return rect().contains(position); }
    void paintEvent(QPaintEvent* event) override;

private:
    FocusRing focusRing{*this};
};

} // namespace tavo
