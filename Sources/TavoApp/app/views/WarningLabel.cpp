#include "app/views/WarningLabel.h"

#include "app/views/Theme.h"

#include <QEvent>

namespace tavo {

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
    // The widget's own palette holds one role of its own; what the window's changes, it follows.
    const auto& theme = Theme::of(palette());
    if (palette().color(QPalette::WindowText) != theme.warning) {
        QPalette own;
        own.setColor(QPalette::WindowText, theme.warning);
        setPalette(own);
    }
}

} // namespace tavo
