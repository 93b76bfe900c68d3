#pragma once

#include "app/views/ControlPainting.h"

#include <QPushButton>
#include <QTimer>

namespace tavo {

/// The purpose of a button, which decides its colours.
enum class ButtonTone { plain, accent, positive };

/// A push button that Return presses, too, while it has the focus.
class TavoButton final : public QPushButton {
public:
    explicit TavoButton(const QString& text, ButtonTone tone = ButtonTone::plain, QWidget* parent = nullptr);

    void setTone(ButtonTone newTone);
    ButtonTone tone() const { return buttonTone; }

    /// A symbol in front of the text; none when the name is empty.
    void setSymbol(const QString& name);

    /// A tall button for the main action of a view.
    void setProminent() { isProminent = true; }

    /// While it works, a spinner replaces its text, and it cannot be pressed.
    void setWorking(bool isWorking);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QFont labelFont() const;
    void paintWheel(QPainter& painter, const QColor& colour) const;

    ButtonTone buttonTone;
    QString symbol;
    bool isProminent = false;
    QTimer wheel;
    int wheelStep = 0;
    FocusRing focusRing{*this};
};

} // namespace tavo
