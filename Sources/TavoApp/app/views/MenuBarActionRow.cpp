#include "app/views/MenuBarActionRow.h"

#include "app/views/ControlPainting.h"
#include "app/views/Symbol.h"
#include "app/views/Theme.h"

#include <QEnterEvent>
#include <QKeyEvent>
#include <QPainter>
#include <utility>

namespace tavo {

using ControlPainting::grown;

namespace {

constexpr int padding = 12;
constexpr int actionHeight = 30;
constexpr int symbolSlot = 38;
constexpr int symbolSide = 14;
constexpr double actionRadius = 5.0;

} // namespace

MenuBarActionRow::MenuBarActionRow(const QString& systemImageName, const QString& title, std::function<void()> action,
                                   QWidget* parent)
    : QAbstractButton(parent) {
    setAction(systemImageName, title);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::clicked, this, std::move(action));
}

void MenuBarActionRow::setAction(const QString& systemImageName, const QString& title) {
    symbol = systemImageName;
    setText(title);
    setAccessibleName(title);
    update();
}

QSize MenuBarActionRow::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + grown(symbolSlot + padding, *this), grown(actionHeight, *this)};
}

// The pointer and the keyboard share one selection.
void MenuBarActionRow::enterEvent(QEnterEvent* event) {
    setFocus(Qt::MouseFocusReason);
    QAbstractButton::enterEvent(event);
}

void MenuBarActionRow::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        click();
        return;
    case Qt::Key_Down:
        focusNextChild();
        return;
    case Qt::Key_Up:
        focusPreviousChild();
        return;
    default:
        QAbstractButton::keyPressEvent(event);
    }
}

void MenuBarActionRow::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    const bool isChosen = hasFocus();
    const auto ink = isChosen ? theme.onColour : theme.text;
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isChosen) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.accent);
        painter.drawRoundedRect(rect(), actionRadius, actionRadius);
    }
    const int side = grown(symbolSide, *this);
    const int slot = grown(symbolSlot, *this);
    const int x = (slot - side) / 2;
    painter.drawPixmap(isMirrored ? width() - x - side : x, (height() - side) / 2,
                       symbolPixmap(symbol, side, ink, devicePixelRatioF()));
    painter.setPen(ink);
    painter.drawText(
        isMirrored ? rect().adjusted(0, 0, -slot, 0) : rect().adjusted(slot, 0, 0, 0),
        static_cast<int>(Qt::AlignAbsolute | Qt::AlignVCenter | (isMirrored ? Qt::AlignRight : Qt::AlignLeft)), text());
}

} // namespace tavo
