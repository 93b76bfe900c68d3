#include "app/views/SettingsRows.h"

#include "app/views/Labels.h"
#include "app/views/Theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <cmath>
#include <utility>

namespace tavo {

namespace {

constexpr int rowPadding = 11;
constexpr int symbolTitleSpacing = 10;
constexpr int rowHeight = 46;
constexpr int rowHeightWithoutDetail = 43;

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

SettingsPickerRow::SettingsPickerRow(const QString& systemImage, const QString& title,
                                     const std::vector<Choice>& choices,
                                     std::function<void(const QString& value)> onChoice, QWidget* parent)
    : SettingsPickerRow(systemImage, title, choices, std::move(onChoice), new PopUpButton, parent) {}

SettingsPickerRow::SettingsPickerRow(const QString& systemImage, const QString& title,
                                     const std::vector<Choice>& choices,
                                     std::function<void(const QString& value)> onChoice, PopUpButton* control,
                                     QWidget* parent)
    : SettingsControlRow(systemImage, title, control, parent), popUp(control) {
    for (const auto& choice : choices) {
        popUp->addItem(choice.title, choice.value);
    }
    connect(popUp, &QComboBox::activated, this, [this, onChoice = std::move(onChoice)](int index) {
        popUp->updateGeometry();
        onChoice(popUp->itemData(index).toString());
    });
}

void SettingsPickerRow::setValue(const QString& value) {
    popUp->setCurrentIndex(popUp->findData(value));
    popUp->updateGeometry();
}

SettingsToggleRow::SettingsToggleRow(const QString& systemImage, const QString& title,
                                     std::function<void(bool)> onToggle, QWidget* parent)
    : SettingsToggleRow(systemImage, title, std::move(onToggle), new SwitchControl, parent) {}

SettingsToggleRow::SettingsToggleRow(const QString& systemImage, const QString& title,
                                     std::function<void(bool)> onToggle, SwitchControl* control, QWidget* parent)
    : SettingsControlRow(systemImage, title, control, parent), switchControl(control) {
    connect(switchControl, &QCheckBox::toggled, this, std::move(onToggle));
}

void SettingsToggleRow::setOn(bool isOn) {
    const QSignalBlocker blocker(switchControl);
    switchControl->setChecked(isOn);
}

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
