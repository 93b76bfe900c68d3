#pragma once

#include <QApplication>
#include <QFont>
#include <QWidget>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavo {

/// The application's font in another size, for as long as this lives.
class FontSize {
public:
    explicit FontSize(int pixels) : before(QApplication::font()) {
        auto font = before;
        font.setPixelSize(pixels);
        QApplication::setFont(font);
    }
    FontSize(const FontSize&) = delete;
    FontSize& operator=(const FontSize&) = delete;
    ~FontSize() { QApplication::setFont(before); }

private:
    QFont before;
};

/// All parts of a type, which need no meta-object of their own, in the order in which they were made.
template <typename Part>
std::vector<Part*> partsOf(const QWidget& whole) {
    std::vector<Part*> found;
    for (auto* widget : whole.findChildren<QWidget*>()) {
        if (auto* part = dynamic_cast<Part*>(widget)) {
            found.push_back(part);
        }
    }
    return found;
}

/// The only one of its type.
template <typename Part>
Part& partOf(const QWidget& whole) {
    const auto found = partsOf<Part>(whole);
    if (found.size() != 1) {
        throw std::runtime_error("there are " + std::to_string(found.size()) + " such parts");
    }
    return *found.front();
}

/// The one with this text.
template <typename Part>
Part& partWithText(const QWidget& whole, const QString& text) {
    for (auto* part : partsOf<Part>(whole)) {
        if (part->text() == text) {
            return *part;
        }
    }
    throw std::runtime_error("nothing reads " + text.toStdString());
}

} // namespace tavo
