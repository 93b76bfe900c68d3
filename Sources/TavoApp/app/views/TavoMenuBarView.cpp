#include "app/views/TavoMenuBarView.h"

#include "app/views/Symbol.h"
#include "app/views/TavoAppIcon.h"
#include "app/views/Theme.h"

#include <QEnterEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>
#include <cmath>
#include <utility>

namespace tavo {

namespace {

constexpr int panelWidth = 280;
constexpr int padding = 12;
constexpr int iconSide = 34;
constexpr int actionHeight = 30;
constexpr int symbolSlot = 38;
constexpr int symbolSide = 14;
constexpr double actionRadius = 5.0;

int grown(int length, const QWidget& widget) {
    return static_cast<int>(std::lround(length * Typography::scale(widget.font())));
}

/// A line over the whole width of the panel.
class Divider final : public QWidget {
public:
    explicit Divider(QWidget* parent) : QWidget(parent) { setFixedHeight(1); }

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), Theme::of(palette()).separator); }
};

} // namespace

MenuBarActionRow::MenuBarActionRow(const QString& systemImageName, const QString& title, std::function<void()> action,
                                   QWidget* parent)
    : QAbstractButton(parent) {
    setAction(systemImageName, title);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::clicked, this, std::move(action));
}

void MenuBarActionRow::setAction(const QString& systemImageName, const QString& title) {
    symbol = systemImageName;
    setText(title);
    setAccessibleName(title);
    update();
}

QSize MenuBarActionRow::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + grown(symbolSlot + padding, *this), grown(actionHeight, *this)};
}

// The pointer and the keyboard choose one and the same row.
void MenuBarActionRow::enterEvent(QEnterEvent* event) {
    setFocus(Qt::MouseFocusReason);
    QAbstractButton::enterEvent(event);
}

void MenuBarActionRow::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        click();
        return;
    case Qt::Key_Down:
        focusNextChild();
        return;
    case Qt::Key_Up:
        focusPreviousChild();
        return;
    default:
        QAbstractButton::keyPressEvent(event);
    }
}

void MenuBarActionRow::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    const bool isChosen = hasFocus();
    const auto ink = isChosen ? theme.onColour : theme.text;
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isChosen) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme.accent);
        painter.drawRoundedRect(rect(), actionRadius, actionRadius);
    }
    const int side = grown(symbolSide, *this);
    const int slot = grown(symbolSlot, *this);
    const int x = (slot - side) / 2;
    painter.drawPixmap(isMirrored ? width() - x - side : x, (height() - side) / 2,
                       symbolPixmap(symbol, side, ink, devicePixelRatioF()));
    painter.setPen(ink);
    painter.drawText(isMirrored ? rect().adjusted(0, 0, -slot, 0) : rect().adjusted(slot, 0, 0, 0),
                     static_cast<int>(Qt::AlignVCenter | (isMirrored ? Qt::AlignRight : Qt::AlignLeft)), text());
}

TavoMenuBarView::TavoMenuBarView(ModelObserver& observer, std::function<void()> onAction, QWidget* parent)
    : QWidget(parent), observer(observer), nameLabel(new QLabel(QStringLiteral("tavo"), this)),
      statusLabel(new QLabel(this)), indicator(new MenuBarHeaderStatusIndicator(this)),
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
    settingsRow = new MenuBarActionRow(QStringLiteral("slider.horizontal.3"), QStringLiteral("settings"),
                                       acting(&TavoAppModel::openSettings), this);
    quitRow = new MenuBarActionRow(QStringLiteral("xmark"), QStringLiteral("quit"), acting(&TavoAppModel::quit), this);

    setAccessibleName(QStringLiteral("tavo"));
    statusLabel->setForegroundRole(QPalette::PlaceholderText);
    statusLabel->setTextFormat(Qt::PlainText);
    statusLabel->setWordWrap(true);
    permissionWarning->setWordWrap(true);

    auto* words = new QVBoxLayout;
    words->setSpacing(0);
    words->addWidget(nameLabel);
    words->addWidget(statusLabel);
    auto* header = new QHBoxLayout;
    header->setSpacing(10);
    header->addWidget(new AppIconView(iconSide, this), 0, Qt::AlignVCenter);
    header->addLayout(words, 1);
    header->addWidget(indicator, 0, Qt::AlignVCenter);

    auto* top = new QVBoxLayout;
    top->setContentsMargins(padding, padding, padding, padding - 1);
    top->setSpacing(8);
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
    connect(&observer, &ModelObserver::changed, this, &TavoMenuBarView::show);
    show(~ModelChanges());
}

void TavoMenuBarView::show(ModelChanges) {
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

/// As wide as ever, and as tall as its texts are in that width.
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

void TavoMenuBarView::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), Theme::of(palette()).window);
}

} // namespace tavo
