#include "app/views/NoticeList.h"

#include "app/views/Symbol.h"
#include "app/views/Theme.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QPainter>
#include <QTextDocument>
#include <QTextLayout>
#include <QToolTip>
#include <algorithm>
#include <cmath>

namespace tavo {

namespace {

constexpr int noticePadding = 6;
constexpr int noticeSymbol = 13;
constexpr int noticeSpacing = 4;

/// Of one notice: a longer one would leave no space for the settings. The tooltip shows all of it.
constexpr int maxRows = 4;

} // namespace

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
    if (!lines.empty()) {
        QAccessibleEvent alert(this, QAccessible::Alert);
        QAccessible::updateAccessibility(&alert);
    }
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

/// Tooltips guess whether their text is markup, and notices quote paths and the output of other programs.
bool NoticeList::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip || toolTip().isEmpty()) {
        return QWidget::event(event);
    }
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                       Qt::convertFromPlainText(toolTip(), Qt::WhiteSpaceNormal), this);
    return true;
}

/// Breaks between words where possible: a path may be longer than a line.
QTextOption NoticeList::textOption() const {
    QTextOption option(layoutDirection() == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    return option;
}

/// The part that fits into so many rows, with an ellipsis if there is more.
QString NoticeList::shownText(const Line& line, int width) const {
    const auto font = Typography::caption(this->font());
    QTextLayout layout(line.text, font);
    layout.setTextOption(textOption());
    layout.beginLayout();
    int rows = 0;
    int startOfLast = 0;
    for (auto row = layout.createLine(); row.isValid(); row = layout.createLine()) {
        row.setLineWidth(width);
        if (++rows == maxRows) {
            startOfLast = row.textStart();
        }
    }
    layout.endLayout();
    if (rows <= maxRows) {
        return line.text;
    }
    return line.text.left(startOfLast) +
           QFontMetrics(font).elidedText(line.text.mid(startOfLast), Qt::ElideRight, width - noticeSpacing);
}

QRect NoticeList::textRect(const Line& line, int top, int width) const {
    const int textLeft = noticeSymbol + noticePadding;
    QTextLayout layout(shownText(line, width - textLeft), Typography::caption(font()));
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
        top = textRect(line, top, width).bottom() + 1 + noticeSpacing;
    }
    return top - noticeSpacing + noticePadding;
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
        top = place.bottom() + 1 + noticeSpacing;
        if (isMirrored) {
            place.moveLeft(0);
        }
        painter.drawPixmap(
            isMirrored ? width() - noticeSymbol : 0, place.top(),
            symbolPixmap(QStringLiteral("exclamationmark.triangle"), noticeSymbol, colour, devicePixelRatioF()));
        painter.setPen(colour);
        painter.drawText(QRectF(place), shownText(line, place.width()), textOption());
    }
}

} // namespace tavo
