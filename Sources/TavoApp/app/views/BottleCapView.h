#pragma once

#include <QWidget>

namespace tavo {

/// Shows the bottle cap alone, in the app's colours.
class BottleCapView final : public QWidget {
public:
    explicit BottleCapView(QWidget* parent = nullptr);
    QSize sizeHint() const override { return {26, 26}; }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace tavo
