#include "app/views/PopUpButton.h"

#include "app/views/ControlPainting.h"
#include "app/views/Symbol.h"
#include "app/views/Theme.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QPainter>
#include <QWheelEvent>

namespace tavo {

using namespace ControlPainting;

PopUpButton::PopUpButton(QWidget* parent) : QComboBox(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
    view()->parentWidget()->installEventFilter(this);
}

bool PopUpButton::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        const auto key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Escape) {
            event->accept();
            return true;
        }
    }
    return QComboBox::eventFilter(watched, event);
}

QSize PopUpButton::sizeHint() const {
    // Only as wide as the current choice: the list has its own width.
    return {QFontMetrics(Typography::control(font())).horizontalAdvance(currentText()) + grown(31, *this),
            grown(23, *this)};
}

void PopUpButton::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintGround(painter, rect(), radius, theme.control, {});
    painter.setFont(Typography::control(font()));
    painter.setPen(theme.controlText);
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    const int side = grown(11, *this);
    const int edge = grown(9, *this);
    const auto textRect = rect().adjusted(isMirrored ? edge + side : edge, 0, isMirrored ? -edge : -edge - side, 0);
    painter.drawText(
        textRect,
        static_cast<int>(Qt::AlignAbsolute | Qt::AlignVCenter | (isMirrored ? Qt::AlignRight : Qt::AlignLeft)),
        currentText());
    painter.drawPixmap(isMirrored ? edge - 1 : width() - edge - side + 1, (height() - side) / 2 + 1,
                       symbolPixmap(QStringLiteral("chevron.down"), side, theme.controlText, devicePixelRatioF()));
    focusRing.paint(painter, rect(), radius);
}

void PopUpButton::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

} // namespace tavo
