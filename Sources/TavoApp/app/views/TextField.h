#pragma once

#include "app/views/ControlPainting.h"

#include <QLineEdit>

namespace tavo {

/// A field for one line of text.
class TextField final : public QLineEdit {
public:
    explicit TextField(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void followFont();

    FocusRing focusRing{*this};
};

} // namespace tavo
