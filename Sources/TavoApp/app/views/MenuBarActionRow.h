#pragma once

#include <QAbstractButton>
#include <functional>

namespace tavo {

/// One action of the panel: a row that is clickable as a whole.
class MenuBarActionRow final : public QAbstractButton {
public:
    MenuBarActionRow(const QString& systemImageName, const QString& title, std::function<void()> action,
                     QWidget* parent = nullptr);

    void setAction(const QString& systemImageName, const QString& title);
    const QString& systemImageName() const { return symbol; }

    QSize sizeHint() const override;

protected:
    bool hitButton(const QPoint& position) const override { return rect().contains(position); }
    void enterEvent(QEnterEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QString symbol;
};

} // namespace tavo
