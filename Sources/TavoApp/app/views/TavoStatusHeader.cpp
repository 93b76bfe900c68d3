#include "app/views/TavoStatusHeader.h"

#include "app/views/TavoAppIcon.h"
#include "app/views/TavoMenuBarIcon.h"
#include "app/views/Theme.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace tavo {

TavoStatusHeader::TavoStatusHeader(ModelObserver& observer, QWidget* parent)
    : QWidget(parent), observer(observer), titleLabel(new ElidedLabel({}, this)),
      detailLabel(new ElidedLabel({}, this)), badge(new BatteryStatusBadgeView(this)) {
    titleLabel->setFont(Typography::emphasis(font()));
    detailLabel->setFont(Typography::caption(font()));
    detailLabel->setForegroundRole(QPalette::PlaceholderText);

    auto* words = new QVBoxLayout;
    words->setSpacing(1);
    words->addWidget(titleLabel);
    words->addWidget(detailLabel);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 13, 14, 11);
    layout->setSpacing(10);
    layout->addWidget(new BottleCapView(this), 0, Qt::AlignVCenter);
    layout->addLayout(words, 1);
    layout->addWidget(badge, 0, Qt::AlignVCenter);

    connect(&observer, &ModelObserver::changed, this, &TavoStatusHeader::showModel);
    showModel();
}

void TavoStatusHeader::showModel() {
    const auto& model = observer.model();
    const auto copy = model.config().isEnabled ? model.runtimeStatusCopy() : RuntimeStatusCopy{"paused", "tavo is off"};
    titleLabel->setText(QString::fromStdString(copy.title));
    detailLabel->setText(QString::fromStdString(copy.detail));
    badge->setPowerStatus(model.powerStatus());
}

} // namespace tavo
