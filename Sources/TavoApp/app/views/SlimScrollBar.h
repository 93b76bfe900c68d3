#pragma once

#include <QScrollBar>
#include <QTimer>
#include <chrono>

namespace tavo {

/// A scroll bar without a background, shown during scrolling and while the pointer is over it.
class SlimScrollBar final : public QScrollBar {
public:
    static constexpr int thickness = 8;

    explicit SlimScrollBar(Qt::Orientation orientation, QWidget* parent = nullptr);
    QSize sizeHint() const override;

    bool isThumbShown() const;
    void showForAWhile();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    static constexpr std::chrono::milliseconds shownFor{1200};

    QTimer vanishing;
};

} // namespace tavo
