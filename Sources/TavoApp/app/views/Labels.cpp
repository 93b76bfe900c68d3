#include "app/views/Labels.h"

#include "app/views/Theme.h"

#include <QEvent>
#include <QHelpEvent>
#include <QPainter>
#include <QTextDocument>
#include <QTextLayout>
#include <QToolTip>
#include <algorithm>

namespace tavo {

ElidedLabel::ElidedLabel(const QString& text, QWidget* parent, int maxRows) : QLabel(text, parent), maxRows(maxRows) {
    setTextFormat(Qt::PlainText);
    auto policy = QSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(maxRows > 1);
    setSizePolicy(policy);
}

QStringList ElidedLabel::rowsIn(int width) const {
    const QFontMetrics metrics(font());
    if (maxRows == 1) {
        return {metrics.elidedText(text(), Qt::ElideRight, width)};
    }
    QStringList words;
    for (const auto& word : text().split(QLatin1Char(' '))) {
        words.append(metrics.elidedText(word, Qt::ElideRight, width));
    }
    const auto whole = words.join(QLatin1Char(' '));
    QTextLayout layout(whole, font());
    layout.beginLayout();
    QStringList rows;
    for (auto row = layout.createLine(); row.isValid(); row = layout.createLine()) {
        row.setLineWidth(width);
        if (rows.size() == maxRows - 1) {
            rows.append(metrics.elidedText(whole.mid(row.textStart()), Qt::ElideRight, width));
            break;
        }
        rows.append(whole.mid(row.textStart(), row.textLength()).trimmed());
    }
    layout.endLayout();
    return rows;
}

QString ElidedLabel::shownText(int width) const {
    return rowsIn(width).join(QLatin1Char('\n'));
}

int ElidedLabel::heightForWidth(int width) const {
    const auto margins = contentsMargins();
    const auto rows = rowsIn(width - margins.left() - margins.right()).size();
    return static_cast<int>(std::max<qsizetype>(rows, 1)) * fontMetrics().lineSpacing() + margins.top() +
           margins.bottom();
}

QSize ElidedLabel::minimumSizeHint() const {
    return {std::min(QLabel::sizeHint().width(), fontMetrics().horizontalAdvance(QChar(0x2026))),
            QLabel::minimumSizeHint().height()};
}

/// The label's own tooltip wins. Otherwise the text is converted, since tooltips guess whether they are markup, and it
/// may come from anywhere.
bool ElidedLabel::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip || !toolTip().isEmpty()) {
        return QLabel::event(event);
    }
    if (shownText().replace(QLatin1Char('\n'), QLatin1Char(' ')) == text()) {
        event->ignore();
        return true;
    }
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                       Qt::convertFromPlainText(text(), Qt::WhiteSpaceNormal), this);
    return true;
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setFont(font());
    painter.setPen(palette().color(foregroundRole()));
    // By the layout and not by the text, which is English in every layout.
    const auto side = layoutDirection() == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft;
    painter.drawText(contentsRect(), static_cast<int>(Qt::AlignAbsolute | side | Qt::AlignVCenter), shownText());
}

WarningLabel::WarningLabel(const QString& text, QWidget* parent) : QLabel(text, parent) {
    setTextFormat(Qt::PlainText);
    applyColour();
    applySide();
}

/// By the layout and not by the text, which is English in every layout.
void WarningLabel::applySide() {
    const auto side = layoutDirection() == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft;
    setAlignment(Qt::AlignAbsolute | side | Qt::AlignVCenter);
}

void WarningLabel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LayoutDirectionChange) {
        applySide();
    }
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) {
        applyColour();
    }
    QLabel::changeEvent(event);
}

void WarningLabel::applyColour() {
    // The widget's own palette sets one role only; the others follow the window's palette.
    const auto& theme = Theme::of(palette());
    if (palette().color(QPalette::WindowText) != theme.warning) {
        QPalette own;
        own.setColor(QPalette::WindowText, theme.warning);
        setPalette(own);
    }
}

} // namespace tavo
