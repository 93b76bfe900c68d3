#pragma once

#include <QColor>
#include <QWidget>

namespace tavo {

/// How a pill is coloured.
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

} // namespace tavo
