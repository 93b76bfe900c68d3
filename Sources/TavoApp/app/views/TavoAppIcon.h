#pragma once

#include <QIcon>
#include <QString>
#include <QWidget>

namespace tavo {

/// The application's icon.
struct TavoAppIcon {
    /// The drawing that is part of the program.
    static constexpr const char* drawing = ":/tavo/app-icon.svg";

    /// Built once: the bundle's own file where there is a bundle, and otherwise the drawing that is part of the
    /// program. An empty icon when neither can be read.
    static const QIcon& image();

    /// @param bundleFile   of an application bundle; tried first.
    /// @param drawingFile  tried next.
    static QIcon load(const QString& bundleFile, const QString& drawingFile);
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

} // namespace tavo
