#include "app/views/TavoWelcomeView.h"

#include "app/views/TavoAppIcon.h"
#include "app/views/TavoMenuBarIcon.h"
#include "app/views/Theme.h"

#include <QLabel>
#include <QVBoxLayout>
#include <utility>

namespace tavo {

namespace {

constexpr int iconSide = 84;
constexpr int margin = 20;

} // namespace

TavoWelcomeView::TavoWelcomeView(ModelObserver& observer, const QString& machineNoun,
                                 std::function<void()> openSettings, QWidget* parent)
    : QWidget(parent), observer(observer), toggleButton(new TavoButton({}, ButtonTone::positive, this)),
      notices(new NoticeList(this)) {
    auto* name = new QLabel(QStringLiteral("tavo"), this);
    name->setFont(Typography::title(font()));
    auto* purpose = new QLabel(QStringLiteral("keep your %1 awake").arg(machineNoun), this);
    purpose->setForegroundRole(QPalette::PlaceholderText);
    toggleButton->setProminent();
    auto* settings = new TavoButton(QStringLiteral("settings"), ButtonTone::plain, this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin / 2, margin, margin / 2);
    layout->setSpacing(0);
    layout->addStretch();
    layout->addWidget(new AppIconView(iconSide, this), 0, Qt::AlignHCenter);
    layout->addSpacing(12);
    layout->addWidget(name, 0, Qt::AlignHCenter);
    layout->addSpacing(10);
    layout->addWidget(purpose, 0, Qt::AlignHCenter);
    layout->addSpacing(16);
    layout->addWidget(toggleButton, 0, Qt::AlignHCenter);
    layout->addSpacing(9);
    layout->addWidget(settings, 0, Qt::AlignHCenter);
    layout->addStretch();
    layout->addWidget(notices);

    connect(toggleButton, &QPushButton::clicked, this, [this] { this->observer.model().toggleEnabled(); });
    connect(settings, &QPushButton::clicked, this, std::move(openSettings));
    connect(&observer, &ModelObserver::changed, this, &TavoWelcomeView::showModel);
    showModel();
}

void TavoWelcomeView::showModel() {
    const auto& model = observer.model();
    const bool isEnabled = model.config().isEnabled;
    toggleButton->setText(isEnabled ? QStringLiteral("pause") : QStringLiteral("enable"));
    toggleButton->setTone(isEnabled ? ButtonTone::plain : ButtonTone::positive);
    notices->setNotices(UserNotices::of(model).withHint(hintText.toStdString()));
}

void TavoWelcomeView::setHint(const QString& hint) {
    hintText = hint;
    showModel();
}

} // namespace tavo
