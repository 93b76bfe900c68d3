#include "app/views/TavoWakeSettings.h"

#include "app/SettingsBindings.h"
#include "app/views/SettingsSection.h"
#include "app/views/Theme.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>
#include <QValidator>

namespace tavo {

namespace {

constexpr int processFieldWidth = 150;
constexpr int cutoffFieldWidth = 52;
constexpr int dividerWidth = 2;
constexpr int dividerInset = 4;

/// Accepts the characters of a cutoff.
class CutoffValidator final : public QValidator {
public:
    using QValidator::QValidator;
    State validate(QString& text, int&) const override {
        return isCutoffText(text.toStdString()) ? Acceptable : Invalid;
    }
};

/// A frame around two choices, with a line between them.
class SegmentedFrame final : public QWidget {
public:
    SegmentedFrame(SegmentButton* first, SegmentButton* second) {
        auto* layout = new QHBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(dividerWidth);
        layout->addWidget(first);
        layout->addWidget(second);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        const auto& theme = Theme::of(palette());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.control);
        painter.drawRoundedRect(rect(), 6.0, 6.0);
        const auto* const last = layout()->itemAt(1)->widget();
        const int line = layoutDirection() == Qt::RightToLeft ? last->geometry().right() + 1 : last->x() - dividerWidth;
        painter.fillRect(line, dividerInset, dividerWidth, height() - 2 * dividerInset, theme.secondaryText);
    }
};

std::vector<SettingsPickerRow::Choice> presetChoices() {
    std::vector<SettingsPickerRow::Choice> choices;
    for (const auto preset : allCases<TriggerPreset>()) {
        const auto value = rawValue(preset);
        const auto title = displayName(preset);
        choices.push_back({QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size())),
                           QString::fromUtf8(title.data(), static_cast<qsizetype>(title.size()))});
    }
    choices.push_back({QStringLiteral("custom"), QStringLiteral("custom")});
    return choices;
}

/// Setting the same text again would move the cursor.
void showText(TextField& field, const std::string& text) {
    if (const auto shown = QString::fromStdString(text); field.text() != shown) {
        field.setText(shown);
    }
}

} // namespace

TavoWakeSettings::TavoWakeSettings(ModelObserver& observer, QWidget* parent)
    : QWidget(parent), observer(observer), executableChoice(new SegmentButton(QStringLiteral("executable"))),
      commandChoice(new SegmentButton(QStringLiteral("command"))), processField(new TextField),
      cutoffField(new TextField) {
    presetRow =
        new SettingsPickerRow(QStringLiteral("scope"), QStringLiteral("preset"), presetChoices(),
                              [this](const QString& value) { edit(withPresetChoice(draft(), value.toStdString())); });
    customRow =
        new SettingsControlRow(QStringLiteral("line.3.horizontal.decrease.circle"), QStringLiteral("custom preset"),
                               new SegmentedFrame(executableChoice, commandChoice));
    processField->setPlaceholderText(QStringLiteral("name or command"));
    processField->setFixedWidth(processFieldWidth);
    processRow = new SettingsControlRow(QStringLiteral("terminal"), QStringLiteral("process"), processField);
    closedLidRow = new SettingsToggleRow(QStringLiteral("laptopcomputer.and.arrow.down"),
                                         QStringLiteral("keep awake with closed lid"),
                                         [this](bool isOn) { edit(withClosedLid(draft(), isOn)); });
    batteryRow = new SettingsToggleRow(QStringLiteral("battery.100"), QStringLiteral("keep awake on battery"),
                                       [this](bool isOn) { edit(withBattery(draft(), isOn)); });
    cutoffField->setFixedWidth(cutoffFieldWidth);
    cutoffField->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    cutoffField->setValidator(new CutoffValidator(cutoffField));
    cutoffField->setInputMethodHints(Qt::ImhDigitsOnly);
    cutoffRow = new SettingsControlRow(QStringLiteral("battery.25"), QStringLiteral("battery cutoff"), cutoffField);
    cutoffRow->setDetail(QStringLiteral("app stops below this percentage"));

    auto* section = new SettingsSection(QStringLiteral("wake"), this);
    for (auto* row : std::initializer_list<SettingsControlRow*>{presetRow, customRow, processRow, closedLidRow,
                                                                batteryRow, cutoffRow}) {
        section->addRow(row);
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(section);

    connect(executableChoice, &QRadioButton::clicked, this,
            [this] { chooseStrategy(TriggerMatchStrategy::executableName); });
    connect(commandChoice, &QRadioButton::clicked, this,
            [this] { chooseStrategy(TriggerMatchStrategy::commandLineContains); });
    connect(processField, &QLineEdit::textEdited, this, [this](const QString& text) {
        auto edited = draft();
        edited.trigger.query = text.toStdString();
        edit(edited);
    });
    connect(cutoffField, &QLineEdit::textEdited, this,
            [this](const QString& text) { edit(withCutoffText(draft(), text.toStdString())); });
    // The number may be the saved one, so that nothing is announced.
    connect(cutoffField, &QLineEdit::editingFinished, this, [this] { showText(*cutoffField, cutoffText(draft())); });
    connect(&observer, &ModelObserver::changed, this, &TavoWakeSettings::showModel);
    showModel(~ModelChanges());
}

void TavoWakeSettings::chooseStrategy(TriggerMatchStrategy strategy) {
    auto edited = draft();
    edited.trigger.matchStrategy = strategy;
    edit(edited);
}

void TavoWakeSettings::showModel(ModelChanges changes) {
    const auto& shown = draft();
    presetRow->setValue(QString::fromStdString(presetChoice(shown)));
    presetRow->setDetail(QString::fromStdString(triggerDetail(shown)));
    customRow->setVisible(showsCustomProcess(shown));
    processRow->setVisible(showsCustomProcess(shown));
    const bool isExecutable = shown.trigger.matchStrategy == TriggerMatchStrategy::executableName;
    executableChoice->setChecked(isExecutable);
    commandChoice->setChecked(!isExecutable);
    // As with radio buttons, Tab reaches the chosen one, and arrow keys the other.
    executableChoice->setFocusPolicy(isExecutable ? Qt::StrongFocus : Qt::ClickFocus);
    commandChoice->setFocusPolicy(isExecutable ? Qt::ClickFocus : Qt::StrongFocus);
    showText(*processField, shown.trigger.query);
    closedLidRow->setOn(keepsAwakeWithClosedLid(shown));
    closedLidRow->setDetail(QString::fromStdString(closedLidDetail(shown)));
    batteryRow->setOn(keepsAwakeOnBattery(shown));
    batteryRow->setDetail(QString::fromStdString(batteryDetail(shown)));
    // Digits with the same value, such as "05", stay as typed until they are saved.
    const bool isSaved = (changes & static_cast<ModelChanges>(ModelProperty::config)) != 0;
    if (isSaved ||
        withCutoffText(shown, cutoffField->text().toStdString()).batteryCutoffPercent != shown.batteryCutoffPercent) {
        showText(*cutoffField, cutoffText(shown));
    }
}

} // namespace tavo
