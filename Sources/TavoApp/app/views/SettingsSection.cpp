#include "app/views/SettingsSection.h"

#include "app/views/Theme.h"

#include <QEvent>
#include <QPainter>
#include <QVBoxLayout>
#include <utility>

namespace tavo {

namespace {

constexpr double cardRadius = 8.0;

} // namespace

class SettingsSection::Card final : public QWidget {
public:
    explicit Card(QWidget* parent) : QWidget(parent), rows(new QVBoxLayout(this)) {
        rows->setContentsMargins(1, 1, 1, 1);
        rows->setSpacing(0);
    }

    void addRow(SettingsControlRow* row) { rows->addWidget(row); }

protected:
    void paintEvent(QPaintEvent*) override {
        const auto& theme = Theme::of(palette());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(theme.card);
        painter.setPen(theme.cardBorder);
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cardRadius, cardRadius);
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setPen(theme.separator);
        bool isFirst = true;
        for (int index = 0; index < rows->count(); ++index) {
            const auto* const row = rows->itemAt(index)->widget();
            if (row->isHidden()) {
                continue;
            }
            if (!std::exchange(isFirst, false)) {
                painter.drawLine(1, row->y(), width() - 2, row->y());
            }
        }
    }

private:
    QVBoxLayout* rows;
};

SettingsSection::SettingsSection(const QString& title, QWidget* parent)
    : QWidget(parent), titleLabel(new ElidedLabel(title, this)), card(new Card(this)) {
    titleLabel->setForegroundRole(QPalette::PlaceholderText);
    titleLabel->setFont(Typography::section(font()));
    titleLabel->setContentsMargins(2, 0, 2, 0);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(5);
    layout->addWidget(titleLabel);
    layout->addWidget(card);
}

void SettingsSection::addRow(SettingsControlRow* row) {
    card->addRow(row);
}

void SettingsSection::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) {
        titleLabel->setFont(Typography::section(font()));
    }
    QWidget::changeEvent(event);
}

} // namespace tavo
