#include "app/views/Controls.h"

#include "app/views/Symbol.h"
#include "app/views/Theme.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QStyleOption>
#include <QWheelEvent>
#include <cmath>

namespace tavo {

namespace {

constexpr double buttonRadius = 6.0;
constexpr double ringWidth = 2.0;
constexpr double disabledOpacity = 0.45;
constexpr int wheelSpokes = 8;
constexpr int wheelMilliseconds = 90;

int grown(int length, const QWidget& widget) {
    return static_cast<int>(std::lround(length * Typography::scale(widget.font())));
}

/// Around a control that has the keyboard.
void paintFocusRing(QPainter& painter, const QRectF& shape, double radius, const Theme& theme) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme.focusRing, ringWidth));
    const auto inset = ringWidth / 2;
    painter.drawRoundedRect(shape.adjusted(inset, inset, -inset, -inset), radius, radius);
}

void paintGround(QPainter& painter, const QRectF& shape, double radius, const QColor& colour, const QColor& border) {
    painter.setPen(border.isValid() ? QPen(border, 1.0) : QPen(Qt::NoPen));
    painter.setBrush(colour);
    const double inset = border.isValid() ? 0.5 : 0.0;
    painter.drawRoundedRect(shape.adjusted(inset, inset, -inset, -inset), radius, radius);
}

QColor whenDown(const QColor& colour, bool isDown, bool isDark) {
    constexpr int percent = 112;
    if (!isDown) {
        return colour;
    }
    return isDark ? colour.lighter(percent) : colour.darker(percent);
}

} // namespace

SwitchControl::SwitchControl(QWidget* parent) : QCheckBox(parent) {
    setCursor(Qt::ArrowCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize SwitchControl::sizeHint() const {
    return {grown(34, *this), grown(20, *this)};
}

void SwitchControl::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) {
        painter.setOpacity(disabledOpacity);
    }
    const QRectF track(rect());
    const double radius = track.height() / 2;
    paintGround(painter, track, radius, isChecked() ? theme.switchOn : theme.switchOff, {});
    const double knob = track.height() - 4;
    const bool isAtEnd = isChecked() != (layoutDirection() == Qt::RightToLeft);
    const double left = isAtEnd ? track.right() - 2 - knob : track.left() + 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 40));
    painter.drawEllipse(QRectF(left, track.top() + 2.5, knob, knob));
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(left, track.top() + 2, knob, knob));
    if (hasFocus()) {
        paintFocusRing(painter, track, radius - 1, theme);
    }
}

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

QSize TavoButton::sizeHint() const {
    const QFontMetrics metrics(Typography::emphasis(font()));
    const int symbolWidth = symbol.isEmpty() ? 0 : grown(17, *this);
    const int padding = grown(isProminent ? 35 : 13, *this);
    return {metrics.horizontalAdvance(text()) + symbolWidth + 2 * padding, grown(isProminent ? 35 : 25, *this)};
}

bool TavoButton::event(QEvent* event) {
    // Before a shortcut of the window takes the key.
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
    paintGround(painter, rect(), buttonRadius, whenDown(ground, isDown(), theme.isDark), {});
    if (wheel.isActive()) {
        paintWheel(painter, ink);
    } else {
        painter.setFont(Typography::emphasis(font()));
        painter.setPen(ink);
        auto content = rect();
        if (!symbol.isEmpty()) {
            const int side = grown(12, *this);
            const int textWidth = painter.fontMetrics().horizontalAdvance(text());
            const int start = (width() - textWidth - grown(17, *this)) / 2;
            const bool isMirrored = layoutDirection() == Qt::RightToLeft;
            const int x = isMirrored ? width() - start - side : start;
            painter.drawPixmap(x, (height() - side) / 2, symbolPixmap(symbol, side, ink, devicePixelRatioF()));
            const int shift = grown(17, *this);
            content.adjust(isMirrored ? 0 : shift, 0, isMirrored ? -shift : 0, 0);
        }
        painter.drawText(content, Qt::AlignCenter, text());
    }
    if (hasFocus()) {
        paintFocusRing(painter, rect(), buttonRadius, theme);
    }
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

PopUpButton::PopUpButton(QWidget* parent) : QComboBox(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
}

QSize PopUpButton::sizeHint() const {
    // As wide as what it shows: the list takes the width that it needs.
    return {fontMetrics().horizontalAdvance(currentText()) + grown(32, *this), grown(23, *this)};
}

void PopUpButton::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintGround(painter, rect(), buttonRadius, theme.control, {});
    painter.setPen(theme.controlText);
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    const int side = grown(11, *this);
    const int edge = grown(9, *this);
    const auto textRect = rect().adjusted(isMirrored ? edge + side : edge, 0, isMirrored ? -edge : -edge - side, 0);
    painter.drawText(textRect, static_cast<int>(Qt::AlignVCenter | (isMirrored ? Qt::AlignRight : Qt::AlignLeft)),
                     currentText());
    painter.drawPixmap(isMirrored ? edge - 1 : width() - edge - side + 1, (height() - side) / 2 + 1,
                       symbolPixmap(QStringLiteral("chevron.down"), side, theme.controlText, devicePixelRatioF()));
    if (hasFocus()) {
        paintFocusRing(painter, rect(), buttonRadius, theme);
    }
}

void PopUpButton::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

SegmentButton::SegmentButton(const QString& text, QWidget* parent) : QRadioButton(text, parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize SegmentButton::sizeHint() const {
    const QFontMetrics metrics(Typography::emphasis(font()));
    return {metrics.horizontalAdvance(text()) + grown(16, *this), grown(23, *this)};
}

void SegmentButton::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isChecked()) {
        // Weight alone is little to tell by.
        paintGround(painter, QRectF(rect()).adjusted(1, 2, -1, -2), buttonRadius - 2, theme.chosenSegment, {});
    }
    painter.setFont(isChecked() ? Typography::emphasis(font()) : font());
    painter.setPen(theme.controlText);
    painter.drawText(rect(), Qt::AlignCenter, text());
    if (hasFocus()) {
        paintFocusRing(painter, rect(), buttonRadius, theme);
    }
}

SlimScrollBar::SlimScrollBar(Qt::Orientation orientation, QWidget* parent) : QScrollBar(orientation, parent) {
    setFocusPolicy(Qt::NoFocus);
}

QSize SlimScrollBar::sizeHint() const {
    return orientation() == Qt::Vertical ? QSize(thickness, thickness * 2) : QSize(thickness * 2, thickness);
}

void SlimScrollBar::paintEvent(QPaintEvent*) {
    if (minimum() == maximum()) {
        return;
    }
    const auto whole = static_cast<double>(maximum() - minimum() + pageStep());
    const bool isVertical = orientation() == Qt::Vertical;
    const double room = isVertical ? height() : width();
    const double start = room * (value() - minimum()) / whole;
    const double length = room * pageStep() / whole;
    QRectF thumb =
        isVertical ? QRectF(1.5, start + 2, width() - 4, length - 4) : QRectF(start + 2, 1.5, length - 4, height() - 4);
    auto colour = Theme::of(palette()).secondaryText;
    colour.setAlphaF(isSliderDown() || underMouse() ? 0.7F : 0.35F);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(thumb, 2.0, 2.0);
}

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
        paintGround(painter, rect(), buttonRadius, theme.control, theme.fieldBorder);
        if (hasFocus()) {
            paintFocusRing(painter, rect(), buttonRadius, theme);
        }
    }
    QLineEdit::paintEvent(event);
}

} // namespace tavo
