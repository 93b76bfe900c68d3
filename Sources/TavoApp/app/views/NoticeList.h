#pragma once

#include "app/UserNotices.h"

#include <QTextOption>
#include <QWidget>
#include <vector>

namespace tavo {

/// Errors and warnings, one below the other; hidden when there are none.
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
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    struct Line {
        QString text;
        bool isError;
    };
    QTextOption textOption() const;
    QString shownText(const Line& line, int width) const;
    QRect textRect(const Line& line, int top, int width) const;

    UserNotices shown;
    std::vector<Line> lines;
};

} // namespace tavo
