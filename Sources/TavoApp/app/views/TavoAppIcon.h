#pragma once

#include <QIcon>
#include <QImage>
#include <QWidget>

namespace tavo {

/// The application's icon.
struct TavoAppIcon {
    /// Built once: the bundle's own file where there is a bundle, and otherwise the drawing that is part of the program. An
    /// empty icon when neither can be read.
    static const QIcon& image();

    /// @param bundleFile  of an application bundle; tried first.
    /// @param drawing     tried next.
    static QIcon load(const QString& bundleFile, const QString& drawing);
};

/// The image in the menu bar or tray: a template, which follows the colour of what lies around it.
struct TavoMenuBarIcon {
    static constexpr int size = 18;
    static constexpr double heldOpacity = 1.0;
    static constexpr double idleOpacity = 0.72;

    /// @param isWakeAssertionActive  dims the image when it is not.
    /// @param colour                 of what it is drawn in; the system decides that where it knows templates.
    static QIcon image(bool isWakeAssertionActive, const QColor& colour);

    /// The drawing to show: the bottle cap, or else a plain seal.
    static QPixmap pixmap(const QString& drawing, int side, const QColor& colour, double opacity);
};

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

/// Shows the bottle cap alone, in the app's colours.
class BottleCapView final : public QWidget {
public:
    explicit BottleCapView(QWidget* parent = nullptr);
    QSize sizeHint() const override { return {26, 26}; }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace tavo
