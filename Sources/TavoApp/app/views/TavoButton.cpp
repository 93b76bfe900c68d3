#include "app/views/TavoButton.h"

#include "app/views/ControlPainting.h"
#include "app/views/Symbol.h"
#include "app/views/Theme.h"

#include <QKeyEvent>
#include <QPainter>

namespace tavo {

using namespace ControlPainting;

namespace {

constexpr int symbolSide = 12;
constexpr int symbolSlot = 16;
constexpr int wheelSpokes = 8;
constexpr int wheelMilliseconds = 90;

QColor whenDown(const QColor& colour, bool isDown, bool isDark) {
    constexpr int percent = 112;
    if (!isDown) {
        return colour;
    }
    return isDark ? colour.lighter(percent) : colour.darker(percent);
}

} // namespace

TavoButton::TavoButton(const QString& text, ButtonTone tone, QWidget* parent)
    : QPushButton(text, parent), buttonTone(tone) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    wheel.setInterval(wheelMilliseconds);
    connect(&wheel, &QTimer::timeout, this, [this] {
        wheelStep = (wheelStep + 1) % wheelSpokes;
        update();
    });
}

void TavoButton::setTone(ButtonTone newTone) {
    buttonTone = newTone;
    update();
}

void TavoButton::setSymbol(const QString& name) {
    symbol = name;
    updateGeometry();
    update();
}

void TavoButton::setWorking(bool isWorking) {
    if (isWorking) {
        wheel.start();
    } else {
        wheel.stop();
    }
    update();
}

QFont TavoButton::labelFont() const {
    return isProminent ? Typography::prominent(font()) : Typography::button(font());
}

QSize TavoButton::sizeHint() const {
    const QFontMetrics metrics(labelFont());
    const int symbolWidth = symbol.isEmpty() ? 0 : grown(symbolSlot, *this);
    const int padding = grown(isProminent ? 35 : symbol.isEmpty() ? 13 : 8, *this);
    return {metrics.horizontalAdvance(text()) + symbolWidth + 2 * padding, grown(isProminent ? 35 : 25, *this)};
}

bool TavoButton::event(QEvent* event) {
    // Claims the key before a shortcut of the window does.
    if (event->type() == QEvent::ShortcutOverride) {
        const auto key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            event->accept();
            return true;
        }
    }
    return QPushButton::event(event);
}

void TavoButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        return;
    }
    QPushButton::keyPressEvent(event);
}

void TavoButton::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    const auto ground = buttonTone == ButtonTone::accent     ? theme.accent
                        : buttonTone == ButtonTone::positive ? theme.positive
                                                             : theme.control;
    const auto ink = buttonTone == ButtonTone::plain ? theme.controlText : theme.onColour;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled() && !wheel.isActive()) {
        painter.setOpacity(disabledOpacity);
    }
    paintGround(painter, rect(), radius, whenDown(ground, isDown(), theme.isDark), {});
    if (wheel.isActive()) {
        paintWheel(painter, ink);
    } else {
        painter.setFont(labelFont());
        painter.setPen(ink);
        auto content = rect();
        if (!symbol.isEmpty()) {
            const int side = grown(symbolSide, *this);
            const int textWidth = painter.fontMetrics().horizontalAdvance(text());
            const int start = (width() - textWidth - grown(symbolSlot, *this)) / 2;
            const bool isMirrored = layoutDirection() == Qt::RightToLeft;
            const int x = isMirrored ? width() - start - side : start;
            painter.drawPixmap(x, (height() - side) / 2, symbolPixmap(symbol, side, ink, devicePixelRatioF()));
            const int shift = grown(symbolSlot, *this);
            content.adjust(isMirrored ? 0 : shift, 0, isMirrored ? -shift : 0, 0);
        }
        painter.drawText(content, Qt::AlignCenter, text());
    }
    focusRing.paint(painter, rect(), radius);
}

void TavoButton::paintWheel(QPainter& painter, const QColor& colour) const {
    const double outer = grown(7, *this);
    painter.save();
    painter.translate(QRectF(rect()).center());
    for (int spoke = 0; spoke < wheelSpokes; ++spoke) {
        auto faded = colour;
        const int age = (wheelStep - spoke + wheelSpokes) % wheelSpokes;
        faded.setAlphaF(1.0F - 0.1F * static_cast<float>(age));
        painter.setPen(QPen(faded, 1.6, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(0, -outer / 2), QPointF(0, -outer));
        painter.rotate(360.0 / wheelSpokes);
    }
    painter.restore();
}

} // namespace tavo
