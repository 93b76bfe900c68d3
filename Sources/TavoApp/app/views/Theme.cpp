#include "app/views/Theme.h"

#include <QFontInfo>
#include <algorithm>
#include <cmath>

namespace tavo {

namespace {

/// The size of the body text that all lengths are drawn for, in pixels.
constexpr double drawnForPixels = 13.0;
constexpr int middleLightness = 128;

QFont scaled(const QFont& body, double factor, QFont::Weight weight) {
    auto font = body;
    if (body.pointSizeF() > 0) {
        font.setPointSizeF(body.pointSizeF() * factor);
    } else {
        font.setPixelSize(static_cast<int>(std::lround(body.pixelSize() * factor)));
    }
    font.setWeight(weight);
    return font;
}

} // namespace

const Theme& Theme::light() {
    static const Theme theme{.isDark = false,
                             .window = QColor(0xF4, 0xF1, 0xF6),
                             .card = QColor(0xFC, 0xFB, 0xFD),
                             .cardBorder = QColor(0xE2, 0xDF, 0xE6),
                             .separator = QColor(0xE2, 0xDF, 0xE6),
                             .text = QColor(0x1D, 0x1D, 0x1F),
                             .secondaryText = QColor(0x5F, 0x5D, 0x65),
                             .control = QColor(0xE6, 0xE4, 0xE9),
                             .controlText = QColor(0x1D, 0x1D, 0x1F),
                             .fieldBorder = QColor(0xCF, 0xCC, 0xD4),
                             .accent = QColor(0x00, 0x67, 0xE0),
                             .positive = QColor(0x1F, 0x80, 0x38),
                             .onColour = Qt::white,
                             .positiveText = QColor(0x1B, 0x6E, 0x31),
                             .switchOn = QColor(0x34, 0xC7, 0x59),
                             .switchOff = QColor(0xD4, 0xD2, 0xD8),
                             .warning = QColor(0xA8, 0x4A, 0x00),
                             .error = QColor(0xC4, 0x1C, 0x1C),
                             .focusRing = QColor(0x00, 0x67, 0xE0, 0xA0)};
    return theme;
}

const Theme& Theme::dark() {
    static const Theme theme{.isDark = true,
                             .window = QColor(0x29, 0x27, 0x2D),
                             .card = QColor(0x34, 0x32, 0x39),
                             .cardBorder = QColor(0x48, 0x46, 0x4D),
                             .separator = QColor(0x45, 0x43, 0x4A),
                             .text = QColor(0xF2, 0xF1, 0xF4),
                             .secondaryText = QColor(0xBA, 0xB8, 0xC0),
                             .control = QColor(0x47, 0x45, 0x4C),
                             .controlText = QColor(0xF2, 0xF1, 0xF4),
                             .fieldBorder = QColor(0x5E, 0x5C, 0x64),
                             .accent = QColor(0x00, 0x6B, 0xE6),
                             .positive = QColor(0x1F, 0x80, 0x38),
                             .onColour = Qt::white,
                             .positiveText = QColor(0x4A, 0xD9, 0x6B),
                             .switchOn = QColor(0x30, 0xD1, 0x58),
                             .switchOff = QColor(0x5E, 0x5C, 0x64),
                             .warning = QColor(0xFF, 0x9F, 0x0A),
                             .error = QColor(0xFF, 0x8A, 0x80),
                             .focusRing = QColor(0x4A, 0xA0, 0xFF, 0xB0)};
    return theme;
}

const Theme& Theme::of(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < middleLightness ? dark() : light();
}

QPalette Theme::palette() const {
    QPalette result;
    result.setColor(QPalette::Window, window);
    result.setColor(QPalette::WindowText, text);
    result.setColor(QPalette::Base, card);
    result.setColor(QPalette::AlternateBase, window);
    result.setColor(QPalette::Text, text);
    result.setColor(QPalette::PlaceholderText, secondaryText);
    result.setColor(QPalette::Button, control);
    result.setColor(QPalette::ButtonText, controlText);
    result.setColor(QPalette::Highlight, accent);
    result.setColor(QPalette::HighlightedText, onColour);
    result.setColor(QPalette::ToolTipBase, card);
    result.setColor(QPalette::ToolTipText, text);
    return result;
}

QFont Typography::title(const QFont& body) {
    return scaled(body, 24.0 / drawnForPixels, QFont::Bold);
}

QFont Typography::emphasis(const QFont& body) {
    return scaled(body, 1.0, QFont::DemiBold);
}

QFont Typography::caption(const QFont& body) {
    return scaled(body, 11.0 / drawnForPixels, QFont::Normal);
}

QFont Typography::control(const QFont& body) {
    return scaled(body, 12.0 / drawnForPixels, QFont::Normal);
}

QFont Typography::button(const QFont& body) {
    return scaled(body, 12.0 / drawnForPixels, QFont::DemiBold);
}

QFont Typography::prominent(const QFont& body) {
    return scaled(body, 14.0 / drawnForPixels, QFont::Medium);
}

QFont Typography::section(const QFont& body) {
    return scaled(body, 11.0 / drawnForPixels, QFont::DemiBold);
}

double Typography::scale(const QFont& body) {
    return std::max(1.0, QFontInfo(body).pixelSize() / drawnForPixels);
}

} // namespace tavo
