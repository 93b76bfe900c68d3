#include "app/views/WarningLabel.h"

#include "app/views/Theme.h"

#include <QEvent>

namespace tavo {

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
