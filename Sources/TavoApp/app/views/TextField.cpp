#include "app/views/TextField.h"

#include "app/views/ControlPainting.h"
#include "app/views/Theme.h"

#include <QPainter>

namespace tavo {

using namespace ControlPainting;

TextField::TextField(QWidget* parent) : QLineEdit(parent) {
    setFrame(false);
    setTextMargins(6, 3, 6, 3);
    // Its ground is painted here; the style would paint another one over it.
    QPalette own;
    own.setColor(QPalette::Base, Qt::transparent);
    setPalette(own);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void TextField::paintEvent(QPaintEvent* event) {
    const auto& theme = Theme::of(window()->palette());
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        paintGround(painter, rect(), radius, theme.control, theme.fieldBorder);
        if (hasFocus()) {
            paintFocusRing(painter, rect(), radius, theme);
        }
    }
    QLineEdit::paintEvent(event);
}

} // namespace tavo
