#include "app/views/TextField.h"

#include "app/views/ControlPainting.h"
#include "app/views/Theme.h"

#include <QApplication>
#include <QPainter>
#include <cmath>

namespace tavo {

using namespace ControlPainting;

namespace {

constexpr int fieldHeight = 25;

} // namespace

TextField::TextField(QWidget* parent) : QLineEdit(parent) {
    setFrame(false);
    setTextMargins(7, 0, 7, 0);
    // Its background is painted here; the style would paint another one over it.
    QPalette own;
    own.setColor(QPalette::Base, Qt::transparent);
    setPalette(own);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    followFont();
}

/// Its text is smaller than around it: relative to the window's font, since its own font is already the smaller one.
void TextField::followFont() {
    const auto& body = parentWidget() != nullptr ? parentWidget()->font() : QApplication::font();
    if (const auto own = Typography::control(body); own != font()) {
        setFont(own);
    }
}

QSize TextField::sizeHint() const {
    const double scale = Typography::scale(parentWidget() != nullptr ? parentWidget()->font() : QApplication::font());
    return {QLineEdit::sizeHint().width(), static_cast<int>(std::lround(fieldHeight * scale))};
}

bool TextField::event(QEvent* event) {
    if (event->type() == QEvent::ParentChange || event->type() == QEvent::FontChange ||
        event->type() == QEvent::Polish) {
        followFont();
    }
    return QLineEdit::event(event);
}

void TextField::paintEvent(QPaintEvent* event) {
    const auto& theme = Theme::of(window()->palette());
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        paintGround(painter, rect(), radius, theme.control, theme.fieldBorder);
        focusRing.paint(painter, rect(), radius);
    }
    QLineEdit::paintEvent(event);
}

} // namespace tavo
