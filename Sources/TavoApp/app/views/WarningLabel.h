#pragma once

#include <QLabel>

namespace tavo {

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
