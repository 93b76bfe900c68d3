#pragma once

#include <QScrollBar>

namespace tavo {

/// A scroll bar without a ground of its own, which shows nothing where there is nothing to scroll.
class SlimScrollBar final : public QScrollBar {
public:
    static constexpr int thickness = 8;

    explicit SlimScrollBar(Qt::Orientation orientation, QWidget* parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace tavo
