#include "app/views/SettingsControlRow.h"

#include "app/views/Theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QVBoxLayout>
#include <cmath>

namespace tavo {

namespace {

constexpr int rowPadding = 11;
constexpr int symbolTitleSpacing = 10;
constexpr int rowHeight = 46;
constexpr int rowHeightWithoutDetail = 43;

} // namespace

SettingsControlRow::SettingsControlRow(const QString& systemImage, const QString& title, QWidget* control,
                                       QWidget* parent)
    : QWidget(parent), symbol(new SymbolView(systemImage, this)), titleLabel(new ElidedLabel(title, this)),
      detailLabel(new ElidedLabel({}, this)), checkmark(new SymbolView(QStringLiteral("checkmark"), this)),
      control(control) {
    auto* words = new QVBoxLayout;
    words->setSpacing(1);
    auto* name = new QHBoxLayout;
    name->setSpacing(5);
    name->addWidget(titleLabel);
    name->addWidget(checkmark);
    name->addStretch();
    words->addStretch();
    words->addLayout(name);
    words->addWidget(detailLabel);
    words->addStretch();
    detailLabel->setForegroundRole(QPalette::PlaceholderText);
    detailLabel->hide();
    checkmark->hide();

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(rowPadding, 4, rowPadding, 4);
    row->setSpacing(symbolTitleSpacing);
    row->addWidget(symbol, 0, Qt::AlignVCenter);
    row->addLayout(words, 1);
    row->addWidget(control, 0, Qt::AlignVCenter);
    control->setAccessibleName(title);
    titleLabel->setBuddy(control);
    applyFonts();
}

void SettingsControlRow::setDetail(const QString& detail) {
    detailLabel->setText(detail);
    detailLabel->setVisible(!detail.isEmpty());
    control->setAccessibleDescription(detail);
    applyFonts();
}

void SettingsControlRow::setShowsLabelCheckmark(bool isShown) {
    checkmark->setVisible(isShown);
}

void SettingsControlRow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) {
        applyFonts();
    }
    QWidget::changeEvent(event);
}

void SettingsControlRow::applyFonts() {
    detailLabel->setFont(Typography::caption(font()));
    const int height = detailLabel->text().isEmpty() ? rowHeightWithoutDetail : rowHeight;
    setMinimumHeight(static_cast<int>(std::lround(height * Typography::scale(font()))));
}

} // namespace tavo
