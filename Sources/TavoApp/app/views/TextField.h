#pragma once

#include <QLineEdit>

namespace tavo {

/// A field for one line of text.
class TextField final : public QLineEdit {
public:
    explicit TextField(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace tavo
