#include "app/views/SettingsRows.h"

#include "app/views/Theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QSignalBlocker>
#include <cmath>
#include <utility>

namespace tavo {

namespace {

constexpr int rowPadding = 11;
constexpr int betweenSymbolAndTitle = 10;
constexpr int rowHeight = 46;
constexpr int rowHeightWithoutDetail = 43;
constexpr double cardRadius = 8.0;

/// Text in the colour of details, which follows light and dark.
class DetailLabel final : public QLabel {
public:
    explicit DetailLabel(QWidget* parent) : QLabel(parent) {
        setForegroundRole(QPalette::PlaceholderText);
        setTextFormat(Qt::PlainText);
    }
};

QWidget* valueAndButton(QLabel*& value, TavoButton*& button) {
    auto* ending = new QWidget;
    auto* layout = new QHBoxLayout(ending);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
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
    : QWidget(parent), symbol(new SymbolView(systemImage, this)), titleLabel(new QLabel(title, this)),
      detailLabel(new DetailLabel(this)), checkmark(new SymbolView(QStringLiteral("checkmark"), this)),
      control(control) {
    auto* words = new QVBoxLayout;
    words->setSpacing(0);
    auto* name = new QHBoxLayout;
    name->setSpacing(5);
    name->addWidget(titleLabel);
    name->addWidget(checkmark);
    name->addStretch();
    words->addStretch();
    words->addLayout(name);
    words->addWidget(detailLabel);
    words->addStretch();
    titleLabel->setTextFormat(Qt::PlainText);
    detailLabel->hide();
    checkmark->hide();

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(rowPadding, 4, rowPadding, 4);
    row->setSpacing(betweenSymbolAndTitle);
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

SettingsToggleRow::SettingsToggleRow(const QString& systemImage, const QString& title,
                                     std::function<void(bool)> onToggle, QWidget* parent)
    : SettingsControlRow(systemImage, title, new SwitchControl, parent), switchControl(findChild<SwitchControl*>()) {
    connect(switchControl, &QCheckBox::toggled, this, std::move(onToggle));
}

void SettingsToggleRow::setOn(bool isOn) {
    const QSignalBlocker blocker(switchControl);
    switchControl->setChecked(isOn);
}

SettingsPickerRow::SettingsPickerRow(const QString& systemImage, const QString& title,
                                     const std::vector<Choice>& choices,
                                     std::function<void(const QString& value)> onChoice, QWidget* parent)
    : SettingsControlRow(systemImage, title, new PopUpButton, parent), popUp(findChild<PopUpButton*>()) {
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
    : QWidget(parent), titleLabel(new DetailLabel(this)), card(new Card(this)) {
    titleLabel->setText(title);
    titleLabel->setFont(Typography::section(font()));
    titleLabel->setContentsMargins(2, 0, 2, 0);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
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
