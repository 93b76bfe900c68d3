#include "app/views/TavoMenuBarView.h"

#include "app/views/ControlPainting.h"
#include "app/views/TavoAppIcon.h"
#include "app/views/Theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace tavo {

using ControlPainting::grown;

namespace {

constexpr int panelWidth = 280;
constexpr int padding = 12;
constexpr int iconSide = 34;
constexpr int maxStatusRows = 3;

/// A line over the whole width of the panel.
class Divider final : public QWidget {
public:
    explicit Divider(QWidget* parent) : QWidget(parent) { setFixedHeight(1); }

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), Theme::of(palette()).separator); }
};

} // namespace

TavoMenuBarView::TavoMenuBarView(ModelObserver& observer, std::function<void()> onAction, QWidget* parent)
    : QWidget(parent), observer(observer), nameLabel(new ElidedLabel(QStringLiteral("tavo"), this)),
      statusLabel(new ElidedLabel({}, this, maxStatusRows)), indicator(new MenuBarHeaderStatusIndicator(this)),
      permissionWarning(
          new WarningLabel(QStringLiteral("extra permission needed to prevent sleep with lid closed"), this)),
      notices(new NoticeList(this)) {
    const auto acting = [this, onAction](void (TavoAppModel::*operation)()) {
        return [this, onAction, operation] {
            onAction();
            (this->observer.model().*operation)();
        };
    };
    toggleRow = new MenuBarActionRow({}, {}, acting(&TavoAppModel::toggleEnabled), this);
    settingsRow = new MenuBarActionRow(
        QStringLiteral("slider.horizontal.3"), QStringLiteral("settings"),
        [this, onAction] {
            onAction();
            this->observer.showSettings();
        },
        this);
    quitRow = new MenuBarActionRow(QStringLiteral("xmark"), QStringLiteral("quit"), acting(&TavoAppModel::quit), this);

    setAccessibleName(QStringLiteral("tavo"));
    statusLabel->setForegroundRole(QPalette::PlaceholderText);
    permissionWarning->setWordWrap(true);

    auto* words = new QVBoxLayout;
    words->setSpacing(1);
    words->addStretch();
    words->addWidget(nameLabel);
    words->addWidget(statusLabel);
    words->addStretch();
    auto* header = new QHBoxLayout;
    header->setSpacing(10);
    header->addWidget(new AppIconView(iconSide, this), 0, Qt::AlignVCenter);
    header->addLayout(words, 1);
    header->addWidget(indicator, 0, Qt::AlignVCenter);

    auto* top = new QVBoxLayout;
    top->setContentsMargins(padding, padding, padding, padding - 1);
    top->setSpacing(10);
    top->addLayout(header);
    top->addWidget(permissionWarning);
    top->addWidget(notices);

    auto* actions = new QVBoxLayout;
    actions->setContentsMargins(padding, 6, padding, padding);
    actions->setSpacing(0);
    for (auto* row : {toggleRow, settingsRow, quitRow}) {
        actions->addWidget(row);
    }

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(new Divider(this));
    layout->addLayout(actions);

    applyFonts();
    setFocusProxy(toggleRow);
    connect(&observer, &ModelObserver::changed, this, &TavoMenuBarView::showModel);
    showModel(~ModelChanges());
}

void TavoMenuBarView::showModel(ModelChanges) {
    const auto& model = observer.model();
    const bool isEnabled = model.config().isEnabled;
    statusLabel->setText(QString::fromStdString(model.runtimeStatusCopy().title));
    indicator->setEnabledState(isEnabled);
    permissionWarning->setVisible(model.needsClosedLidPermission());
    notices->setNotices(UserNotices::of(model));
    toggleRow->setAction(isEnabled ? QStringLiteral("pause.fill") : QStringLiteral("play.fill"),
                         isEnabled ? QStringLiteral("pause") : QStringLiteral("enable"));
    fitHeight();
}

/// Of fixed width, and as tall as its texts need at that width.
void TavoMenuBarView::fitHeight() {
    const int width = grown(panelWidth, *this);
    layout()->activate();
    const int height =
        layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(width) : layout()->totalSizeHint().height();
    setFixedSize(width, height);
}

void TavoMenuBarView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) {
        applyFonts();
        fitHeight();
    }
    QWidget::changeEvent(event);
}

void TavoMenuBarView::applyFonts() {
    nameLabel->setFont(Typography::emphasis(font()));
    statusLabel->setFont(Typography::caption(font()));
    permissionWarning->setFont(Typography::caption(font()));
}

} // namespace tavo
