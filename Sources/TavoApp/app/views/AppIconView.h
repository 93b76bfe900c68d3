#pragma once

#include <QWidget>

namespace tavo {

/// Shows the icon, with rounded corners.
class AppIconView final : public QWidget {
public:
    /// @param side  in points, of a square.
    explicit AppIconView(int side, QWidget* parent = nullptr);
    QSize sizeHint() const override { return {side, side}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int side;
};

} // namespace tavo
