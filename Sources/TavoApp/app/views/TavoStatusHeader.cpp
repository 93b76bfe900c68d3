#include "app/views/TavoStatusHeader.h"

#include "app/views/AppIconView.h"
#include "app/views/BottleCapView.h"
#include "app/views/Theme.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace tavo {

namespace {

constexpr int mostDetailRows = 3;

} // namespace

TavoStatusHeader::TavoStatusHeader(ModelObserver& observer, QWidget* parent)
    : QWidget(parent), observer(observer), titleLabel(new QLabel(this)), detailLabel(new QLabel(this)),
      badge(new BatteryStatusBadgeView(this)) {
    titleLabel->setFont(Typography::emphasis(font()));
    titleLabel->setTextFormat(Qt::PlainText);
    detailLabel->setFont(Typography::caption(font()));
    detailLabel->setForegroundRole(QPalette::PlaceholderText);
    detailLabel->setTextFormat(Qt::PlainText);
    detailLabel->setWordWrap(true);
    // A failure's words may be long, and a path among them wider than the window; the notices have the whole of it.
    detailLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    detailLabel->setMaximumHeight(mostDetailRows * detailLabel->fontMetrics().lineSpacing());

    auto* words = new QVBoxLayout;
    words->setSpacing(0);
    words->addWidget(titleLabel);
    words->addWidget(detailLabel);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 11, 14, 11);
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
