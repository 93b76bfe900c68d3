#pragma once

#include <QColor>
#include <QPixmap>
#include <QString>
#include <QWidget>

namespace tavo {

/// One of the project's drawings, in one colour.
/// @param name      of a file in the folder of symbols, without its ending.
/// @param size      in points, of a square.
/// @param ratio     pixels per point.
/// @return an empty image for an unknown name.
QPixmap symbolPixmap(const QString& name, int size, const QColor& colour, double ratio);

/// The same for a drawing that is a file, or part of the program.
QPixmap templatePixmap(const QString& file, int size, const QColor& colour, double ratio);

/// One of the system's own symbols; null where the system has none, or none of that name.
QPixmap systemSymbol(const QString& name, int pixels, const QColor& colour);

/// Shows a symbol in the colour of details.
class SymbolView final : public QWidget {
public:
    explicit SymbolView(QString name, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    void setName(const QString& name);
    const QString& name() const { return symbol; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString symbol;
};

} // namespace tavo
