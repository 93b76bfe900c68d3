#pragma once

#include "app/views/ControlPainting.h"

#include <QRadioButton>

namespace tavo {

/// One of several choices side by side: a radio button within a common frame.
class SegmentButton final : public QRadioButton {
public:
    explicit SegmentButton(const QString& text, QWidget* parent = nullptr);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint& position) const override { return rect().contains(position); }
    void paintEvent(QPaintEvent* event) override;

private:
    FocusRing focusRing{*this};
};

} // namespace tavo
