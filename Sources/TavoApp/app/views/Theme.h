#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace tavo {

/// The colours of every view, in light and in dark. Text has a contrast of at least 4.5 to 1 to its background.
struct Theme {
    bool isDark = false;
    QColor window; ///< TavoGlassTint: the window's background, opaque
    QColor card;   ///< the background of a section's rows
    QColor cardBorder;
    QColor separator;
    QColor text;
    QColor secondaryText;
    QColor control; ///< the background of buttons, pickers and fields
    QColor controlText;
    QColor fieldBorder;
    QColor accent;
    QColor positive; ///< the background of buttons that switch on
    QColor onColour; ///< text on `accent` and on `positive`
    QColor positiveText;
    QColor switchOn;
    QColor switchOff;
    QColor warning;
    QColor error;
    QColor focusRing;

    static const Theme& light();
    static const Theme& dark();

    /// The theme for a widget with this palette, which palette() of either made.
    static const Theme& of(const QPalette& palette);

    /// For Qt's own parts, such as the lists of pickers and selected text.
    QPalette palette() const;
};

/// Sizes of text, relative to the font that the desktop has chosen.
namespace Typography {
QFont title(const QFont& body);     ///< the name on the welcome view
QFont emphasis(const QFont& body);  ///< the name of a state
QFont caption(const QFont& body);   ///< details
QFont control(const QFont& body);   ///< in pickers and fields
QFont button(const QFont& body);    ///< on buttons, and the chosen one of several choices
QFont prominent(const QFont& body); ///< on the one button that matters
QFont section(const QFont& body);   ///< the name of a section

/// The factor by which lengths grow with the font: 1 for the size that they were drawn for, and for smaller ones.
double scale(const QFont& body);
} // namespace Typography

} // namespace tavo
