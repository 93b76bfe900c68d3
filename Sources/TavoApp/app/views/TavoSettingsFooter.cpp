#include "app/views/TavoSettingsFooter.h"

#include "app/views/Theme.h"

#include <QHBoxLayout>
#include <QPainter>

namespace tavo {

TavoSettingsFooter::TavoSettingsFooter(ModelObserver& observer, QWidget* parent)
    : QWidget(parent), observer(observer), unsavedLabel(new WarningLabel(QStringLiteral("unsaved"), this)),
      cancelButton(new TavoButton(QStringLiteral("cancel"), ButtonTone::plain, this)),
      saveButton(new TavoButton(QStringLiteral("save"), ButtonTone::plain, this)),
      toggleButton(new TavoButton({}, ButtonTone::plain, this)) {
    unsavedLabel->setFont(Typography::caption(font()));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 10, 14, 9);
    layout->setSpacing(8);
    layout->addWidget(unsavedLabel);
    layout->addStretch();
    layout->addWidget(cancelButton);
    layout->addWidget(saveButton);
    layout->addWidget(toggleButton);

    connect(cancelButton, &QPushButton::clicked, this, [this] { this->observer.model().revertDraft(); });
    connect(saveButton, &QPushButton::clicked, this, [this] { this->observer.model().saveDraft(); });
    connect(toggleButton, &QPushButton::clicked, this, [this] { this->observer.model().toggleEnabled(); });
    connect(&observer, &ModelObserver::changed, this, &TavoSettingsFooter::showModel);
    showModel();
}

void TavoSettingsFooter::showModel() {
    const auto& model = observer.model();
    const bool isUnsaved = model.hasUnsavedEdits();
    const bool isEnabled = model.config().isEnabled;
    unsavedLabel->setVisible(isUnsaved);
    cancelButton->setVisible(isUnsaved);
    saveButton->setTone(isUnsaved ? ButtonTone::accent : ButtonTone::plain);
    toggleButton->setText(isEnabled ? QStringLiteral("pause") : QStringLiteral("enable"));
    toggleButton->setTone(isEnabled ? ButtonTone::plain : ButtonTone::positive);
}

void TavoSettingsFooter::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(0, 0, width(), 1, Theme::of(palette()).separator);
}

} // namespace tavo
