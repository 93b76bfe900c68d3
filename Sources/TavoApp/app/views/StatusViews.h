#pragma once

#include "app/StatusCopy.h"
#include "app/UserNotices.h"

#include <QColor>
#include <QLabel>
#include <QTextOption>
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

/// The charge as a drawing and in words.
class BatteryStatusBadgeView final : public QWidget {
public:
    explicit BatteryStatusBadgeView(QWidget* parent = nullptr);

    void setPowerStatus(const PowerStatus& status);
    QString text() const { return QString::fromStdString(badge.displayText()); }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    BatteryStatusBadge badge;
};

/// What the user has to be told, one text below the other; hidden when there is nothing.
class NoticeList final : public QWidget {
public:
    explicit NoticeList(QWidget* parent = nullptr);

    void setNotices(const UserNotices& notices);
    QString text() const;

    /// As tall as its texts are in its width.
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Line {
        QString text;
        bool isError;
    };
    QTextOption textOption() const;
    QRect textRect(const Line& line, int top, int width) const;

    UserNotices shown;
    std::vector<Line> lines;
};

/// Text in a colour of the theme, which follows light and dark.
class WarningLabel final : public QLabel {
public:
    explicit WarningLabel(const QString& text, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyColour();
};

} // namespace tavo
