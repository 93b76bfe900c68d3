#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTimer>

namespace tavo {

// The window's controls: Qt's own with their keyboard and their accessibility, painted as this app has them.

/// A switch: a check box of another shape.
class SwitchControl final : public QCheckBox {
public:
    explicit SwitchControl(QWidget* parent = nullptr);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint& position) const override { return rect().contains(position); }
    void paintEvent(QPaintEvent* event) override;
};

/// What a button is for, which decides its colours.
enum class ButtonTone { plain, accent, positive };

/// A push button, which Return presses too while it has the keyboard.
class TavoButton final : public QPushButton {
public:
    explicit TavoButton(const QString& text, ButtonTone tone = ButtonTone::plain, QWidget* parent = nullptr);

    void setTone(ButtonTone newTone);
    ButtonTone tone() const { return buttonTone; }

    /// A symbol in front of the text; none when the name is empty.
    void setSymbol(const QString& name);

    /// A tall button for the one thing that a view is about.
    void setProminent() { isProminent = true; }

    /// While it works there is a wheel turning in the place of its text, and it cannot be pressed.
    void setWorking(bool isWorking);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void paintWheel(QPainter& painter, const QColor& colour) const;

    ButtonTone buttonTone;
    QString symbol;
    bool isProminent = false;
    QTimer wheel;
    int wheelStep = 0;
};

/// A picker: a combo box with a chevron.
class PopUpButton final : public QComboBox {
public:
    explicit PopUpButton(QWidget* parent = nullptr);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    /// Scrolling over it is for the view around it.
    void wheelEvent(QWheelEvent* event) override;
};

/// One of the choices beside each other of which one holds: radio buttons in one frame.
class SegmentButton final : public QRadioButton {
public:
    explicit SegmentButton(const QString& text, QWidget* parent = nullptr);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint& position) const override { return rect().contains(position); }
    void paintEvent(QPaintEvent* event) override;
};

/// A scroll bar without a ground of its own, which shows nothing where there is nothing to scroll.
class SlimScrollBar final : public QScrollBar {
public:
    static constexpr int thickness = 8;

    explicit SlimScrollBar(Qt::Orientation orientation, QWidget* parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A field for one line of text.
class TextField final : public QLineEdit {
public:
    explicit TextField(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace tavo
