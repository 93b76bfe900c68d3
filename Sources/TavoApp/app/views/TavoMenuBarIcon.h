#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>
#include <QWidget>

namespace tavo {

/// The image in the menu bar or tray: a template, which follows the colour of what lies around it.
struct TavoMenuBarIcon {
    /// The bottle cap, part of the program.
    static constexpr const char* drawing = ":/tavo/soda-cap.svg";

    static constexpr int size = 18;
    static constexpr double heldOpacity = 1.0;
    static constexpr double idleOpacity = 0.72;

    /// @param isWakeAssertionActive  dims the image when it is not.
    /// @param colour                 to draw it in; ignored where the system colours templates.
    static QIcon image(bool isWakeAssertionActive, const QColor& colour);

    /// The drawing to show: the bottle cap, or else a plain seal.
    static QPixmap pixmap(const QString& drawingFile, int side, const QColor& colour, double opacity);
};

/// Shows the bottle cap alone, in the app's colours.
class BottleCapView final : public QWidget {
public:
    explicit BottleCapView(QWidget* parent = nullptr);
    QSize sizeHint() const override { return {26, 26}; }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace tavo
