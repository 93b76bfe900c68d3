#pragma once

#include "app/views/ModelObserver.h"
#include "app/views/StatusViews.h"

#include <QAbstractButton>
#include <QLabel>
#include <QWidget>
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

/// Whether Tavo is switched on: that, and not what it is doing.
class MenuBarHeaderStatusIndicator final : public StatusPill {
public:
    explicit MenuBarHeaderStatusIndicator(QWidget* parent = nullptr) : StatusPill(parent) {}

    void setEnabledState(bool isEnabled) {
        setStatus(isEnabled ? QStringLiteral("on") : QStringLiteral("paused"),
                  isEnabled ? PillTone::enabled : PillTone::disabled);
    }
};

/// The panel of the menu bar or tray: what Tavo is doing, and three things to do about it.
class TavoMenuBarView final : public QWidget {
public:
    /// @param onAction  called before an action is carried out: the panel goes then.
    TavoMenuBarView(ModelObserver& observer, std::function<void()> onAction, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void show(ModelChanges changes);
    void applyFonts();
    void fitHeight();

    ModelObserver& observer;
    QLabel* nameLabel;
    QLabel* statusLabel;
    MenuBarHeaderStatusIndicator* indicator;
    WarningLabel* permissionWarning;
    NoticeList* notices;
    MenuBarActionRow* toggleRow;
    MenuBarActionRow* settingsRow;
    MenuBarActionRow* quitRow;
};

} // namespace tavo
