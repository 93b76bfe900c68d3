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

} // namespace tavo
