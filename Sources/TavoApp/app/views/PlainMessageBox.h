#pragma once

#include <QMessageBox>
#include <string>

namespace tavo {

/// A dialog with a text and a button to close it. Errors quote paths and the output of other programs, so nothing in them
/// is taken for markup.
class PlainMessageBox final : public QMessageBox {
public:
    PlainMessageBox(Icon icon, const std::string& text)
        : QMessageBox(icon, QStringLiteral("tavo"), QString::fromStdString(text)) {
        setTextFormat(Qt::PlainText);
    }
};

} // namespace tavo
