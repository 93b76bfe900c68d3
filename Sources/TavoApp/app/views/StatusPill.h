#pragma once

#include <QColor>
#include <QWidget>

namespace tavo {

/// The colouring of a pill.
enum class PillTone { enabled, disabled };

/// A word in a capsule, with a dot in front of it.
class StatusPill : public QWidget {
public:
    explicit StatusPill(QWidget* parent = nullptr);

    void setStatus(const QString& newTitle, PillTone newTone);
    const QString& title() const { return word; }
    PillTone tone() const { return pillTone; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor colour() const;

    QString word;
    PillTone pillTone = PillTone::disabled;
};

/// Shows whether Tavo is switched on, not what it is doing.
class MenuBarHeaderStatusIndicator final : public StatusPill {
public:
    explicit MenuBarHeaderStatusIndicator(QWidget* parent = nullptr) : StatusPill(parent) {}

    void setEnabledState(bool isEnabled) {
        setStatus(isEnabled ? QStringLiteral("on") : QStringLiteral("paused"),
                  isEnabled ? PillTone::enabled : PillTone::disabled);
    }
};

} // namespace tavo
