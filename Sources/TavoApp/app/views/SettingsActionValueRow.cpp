#include "app/views/SettingsActionValueRow.h"

#include "app/views/DetailLabel.h"
#include "app/views/Theme.h"

#include <QHBoxLayout>
#include <utility>

namespace tavo {

namespace {

QWidget* valueAndButton(QLabel*& value, TavoButton*& button) {
    auto* ending = new QWidget;
    auto* layout = new QHBoxLayout(ending);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    value = new DetailLabel(ending);
    button = new TavoButton({}, ButtonTone::plain, ending);
    layout->addWidget(value);
    layout->addWidget(button);
    ending->setFocusProxy(button);
    return ending;
}

} // namespace

SettingsActionValueRow::SettingsActionValueRow(const QString& systemImage, const QString& title,
                                               std::function<void()> onAction, QWidget* parent)
    : SettingsControlRow(systemImage, title, valueAndButton(valueLabel, actionButton), parent) {
    valueLabel->setFont(Typography::caption(font()));
    connect(actionButton, &QPushButton::clicked, this, std::move(onAction));
}

void SettingsActionValueRow::setValue(const QString& value) {
    valueLabel->setText(value);
    valueLabel->setVisible(!value.isEmpty());
}

void SettingsActionValueRow::setPrimaryAction(const QString& actionTitle, const QString& actionSystemImage) {
    actionButton->setText(actionTitle);
    actionButton->setSymbol(actionSystemImage);
    actionButton->setAccessibleName(actionTitle + QStringLiteral(" ") + title());
}

void SettingsActionValueRow::setWorking(bool isWorking) {
    actionButton->setWorking(isWorking);
}

} // namespace tavo
