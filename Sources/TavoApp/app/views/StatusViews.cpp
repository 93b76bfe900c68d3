#include "app/views/StatusViews.h"

#include "app/views/Symbol.h"
#include "app/views/Theme.h"

#include <QEvent>
#include <QPainter>
#include <QTextLayout>
#include <QTextOption>
#include <algorithm>
#include <cmath>

namespace tavo {

namespace {

constexpr double dotDiameter = 6.0;
constexpr int pillPaddingX = 8;
constexpr int pillPaddingY = 5;
constexpr int betweenDotAndWord = 6;
constexpr float enabledTint = 0.14F;
constexpr float disabledTint = 0.12F;

constexpr int batteryWidth = 26;
constexpr int batteryHeight = 12;
constexpr int betweenBatteryAndText = 7;
constexpr double lowLevel = 0.2;

constexpr int noticePadding = 6;
constexpr int noticeSymbol = 13;
constexpr int betweenNotices = 4;

} // namespace

StatusPill::StatusPill(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void StatusPill::setStatus(const QString& newTitle, PillTone newTone) {
    word = newTitle;
    pillTone = newTone;
    setAccessibleName(word);
    updateGeometry();
    update();
}

QSize StatusPill::sizeHint() const {
    const QFontMetrics metrics(Typography::section(font()));
    return {metrics.horizontalAdvance(word) + static_cast<int>(dotDiameter) + betweenDotAndWord + 2 * pillPaddingX,
            metrics.height() + 2 * pillPaddingY};
}

QColor StatusPill::colour() const {
    const auto& theme = Theme::of(palette());
    return pillTone == PillTone::enabled ? theme.positiveText : theme.secondaryText;
}

void StatusPill::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    auto tint = colour();
    tint.setAlphaF(pillTone == PillTone::enabled ? enabledTint : disabledTint);
    painter.setBrush(tint);
    painter.drawRoundedRect(rect(), height() / 2.0, height() / 2.0);
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    const double dotLeft = isMirrored ? width() - pillPaddingX - dotDiameter : pillPaddingX;
    painter.setBrush(colour());
    painter.drawEllipse(QRectF(dotLeft, (height() - dotDiameter) / 2, dotDiameter, dotDiameter));
    painter.setFont(Typography::section(font()));
    painter.setPen(colour());
    const int behindDot = pillPaddingX + static_cast<int>(dotDiameter) + betweenDotAndWord;
    painter.drawText(isMirrored ? rect().adjusted(0, 0, -behindDot, 0) : rect().adjusted(behindDot, 0, 0, 0),
                     static_cast<int>(Qt::AlignVCenter | (isMirrored ? Qt::AlignRight : Qt::AlignLeft)), word);
}

BatteryStatusBadgeView::BatteryStatusBadgeView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setPowerStatus({});
}

void BatteryStatusBadgeView::setPowerStatus(const PowerStatus& status) {
    badge.powerStatus = status;
    setAccessibleName(QString::fromStdString(summaryText(status)));
    updateGeometry();
    update();
}

QSize BatteryStatusBadgeView::sizeHint() const {
    const QFontMetrics metrics(Typography::caption(font()));
    return {batteryWidth + betweenBatteryAndText + metrics.horizontalAdvance(text()),
            std::max(batteryHeight, metrics.height())};
}

void BatteryStatusBadgeView::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double left = isMirrored ? width() - batteryWidth : 0;
    const double top = (height() - batteryHeight) / 2.0;
    painter.setPen(QPen(theme.secondaryText, 1.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(left + 0.5, top + 0.5, batteryWidth - 3, batteryHeight - 1), 3.5, 3.5);
    painter.drawLine(QPointF(left + batteryWidth - 0.5, top + 4), QPointF(left + batteryWidth - 0.5, top + 8));
    if (const auto level = badge.level()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(*level <= lowLevel ? theme.error : theme.switchOn);
        const double room = batteryWidth - 7;
        painter.drawRoundedRect(QRectF(left + 2.5, top + 2.5, std::max(1.5, room * *level), batteryHeight - 5), 1.5,
                                1.5);
    }
    painter.setFont(Typography::caption(font()));
    painter.setPen(theme.secondaryText);
    painter.drawText(rect(), static_cast<int>(Qt::AlignVCenter | (isMirrored ? Qt::AlignLeft : Qt::AlignRight)),
                     text());
}

NoticeList::NoticeList(QWidget* parent) : QWidget(parent) {
    auto policy = QSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    hide();
}

void NoticeList::setNotices(const UserNotices& notices) {
    if (notices == shown) {
        return;
    }
    shown = notices;
    lines.clear();
    for (const auto& error : notices.errors) {
        lines.push_back({QString::fromStdString(error), true});
    }
    for (const auto& warning : notices.warnings) {
        lines.push_back({QString::fromStdString(warning), false});
    }
    setAccessibleName(text());
    setToolTip(text());
    setVisible(!lines.empty());
    updateGeometry();
    update();
}

QString NoticeList::text() const {
    QStringList texts;
    for (const auto& line : lines) {
        texts.append(line.text);
    }
    return texts.join(QLatin1Char('\n'));
}

/// Between words where that is possible: a path may be longer than a line.
QTextOption NoticeList::textOption() const {
    QTextOption option(layoutDirection() == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    return option;
}

QRect NoticeList::textRect(const Line& line, int top, int width) const {
    const int textLeft = noticeSymbol + noticePadding;
    QTextLayout layout(line.text, Typography::caption(font()));
    layout.setTextOption(textOption());
    double height = 0;
    layout.beginLayout();
    for (auto row = layout.createLine(); row.isValid(); row = layout.createLine()) {
        row.setLineWidth(width - textLeft);
        height += row.height();
    }
    layout.endLayout();
    return {textLeft, top, width - textLeft, std::max(static_cast<int>(std::ceil(height)), noticeSymbol)};
}

int NoticeList::heightForWidth(int width) const {
    int top = noticePadding;
    for (const auto& line : lines) {
        top = textRect(line, top, width).bottom() + 1 + betweenNotices;
    }
    return top - betweenNotices + noticePadding;
}

QSize NoticeList::sizeHint() const {
    return {width(), heightForWidth(width())};
}

void NoticeList::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    QPainter painter(this);
    painter.setFont(Typography::caption(font()));
    int top = noticePadding;
    for (const auto& line : lines) {
        const auto colour = line.isError ? theme.error : theme.warning;
        auto place = textRect(line, top, width());
        top = place.bottom() + 1 + betweenNotices;
        if (isMirrored) {
            place.moveLeft(0);
        }
        painter.drawPixmap(
            isMirrored ? width() - noticeSymbol : 0, place.top(),
            symbolPixmap(QStringLiteral("exclamationmark.triangle"), noticeSymbol, colour, devicePixelRatioF()));
        painter.setPen(colour);
        painter.drawText(QRectF(place), line.text, textOption());
    }
}

WarningLabel::WarningLabel(const QString& text, QWidget* parent) : QLabel(text, parent) {
    setTextFormat(Qt::PlainText);
    applyColour();
}

void WarningLabel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) {
        applyColour();
    }
    QLabel::changeEvent(event);
}

void WarningLabel::applyColour() {
    // The widget's own palette holds one role of its own; what the window's changes, it follows.
    const auto& theme = Theme::of(palette());
    if (palette().color(QPalette::WindowText) != theme.warning) {
        QPalette own;
        own.setColor(QPalette::WindowText, theme.warning);
        setPalette(own);
    }
}

} // namespace tavo
