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

/// Plain text that gives way where there is little space: what does not fit ends in an ellipsis, and the tooltip has the
/// whole. Stands at the side where a line of the layout begins, whichever script it is in.
class ElidedLabel : public QLabel {
public:
    /// @param maxRows  to break the text into, between words; a word that is too wide is elided on its own.
    explicit ElidedLabel(const QString& text = {}, QWidget* parent = nullptr, int maxRows = 1);

    /// As it is painted in the present width.
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
