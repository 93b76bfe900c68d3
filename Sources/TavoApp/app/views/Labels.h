#pragma once

#include <QLabel>

namespace tavo {

/// Text in the colour of details, which follows light and dark.
class DetailLabel final : public QLabel {
public:
    explicit DetailLabel(QWidget* parent = nullptr) : QLabel(parent) {
        setForegroundRole(QPalette::PlaceholderText);
        setTextFormat(Qt::PlainText);
    }
};

/// Plain text that can be shortened: text that does not fit ends in an ellipsis, and the tooltip shows all of it.
/// Aligned to the side where lines of the layout begin, whatever its script.
class ElidedLabel : public QLabel {
public:
    /// @param maxRows  of the broken text, at word boundaries; a word that is too wide is elided by itself.
    explicit ElidedLabel(const QString& text = {}, QWidget* parent = nullptr, int maxRows = 1);

    /// The text as it is painted at the present width.
    QString shownText() const { return shownText(contentsRect().width()); }

    bool hasHeightForWidth() const override { return maxRows > 1; }
    int heightForWidth(int width) const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QString shownText(int width) const;
    QStringList rowsIn(int width) const;

    int maxRows;
};

/// Text in a colour of the theme, which follows light and dark.
class WarningLabel final : public QLabel {
public:
    explicit WarningLabel(const QString& text, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyColour();
    void applySide();
};

} // namespace tavo
