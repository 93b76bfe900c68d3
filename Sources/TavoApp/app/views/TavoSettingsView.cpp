#include "app/views/TavoSettingsView.h"

#include "app/views/NoticeList.h"
#include "app/views/SettingsRows.h"
#include "app/views/SlimScrollBar.h"
#include "app/views/TavoSettingsFooter.h"
#include "app/views/TavoStatusHeader.h"
#include "app/views/TavoSystemSettings.h"
#include "app/views/TavoWakeSettings.h"
#include "app/views/TavoWelcomeView.h"
#include "app/views/TavoWindowGlassBackground.h"
#include "app/views/Theme.h"

#include <QFocusEvent>
#include <QPainter>
#include <QRadioButton>
#include <QResizeEvent>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>

namespace tavo {

namespace {

constexpr int sideMargin = 14;

/// Between the focused row and the edges of the scroll area.
constexpr int rowMargin = 6;

/// Holds the notices below the scroll area, separated by a line.
class NoticeArea final : public QWidget {
public:
    explicit NoticeArea(NoticeList* notices) {
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(sideMargin, 0, sideMargin, 0);
        layout->addWidget(notices);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter(this).fillRect(0, 0, width(), 1, Theme::of(palette()).separator);
    }
};

/// Scrolls the whole row into view when its control gets the focus.
class RowScroll final : public QScrollArea {
public:
    void follow(QWidget* focused) {
        for (auto* widget = focused; widget != nullptr; widget = widget->parentWidget()) {
            if (dynamic_cast<SettingsControlRow*>(widget) != nullptr && isAncestorOf(widget)) {
                ensureWidgetVisible(widget, 0, rowMargin);
                return;
            }
        }
    }

    /// Qt scrolls only the control into view, and only when the focus was in the area before.
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::FocusIn) {
            const auto reason = static_cast<QFocusEvent*>(event)->reason();
            if (reason != Qt::MouseFocusReason && reason != Qt::ActiveWindowFocusReason &&
                reason != Qt::PopupFocusReason) {
                follow(static_cast<QWidget*>(watched));
            }
        }
        return QScrollArea::eventFilter(watched, event);
    }
};

} // namespace

TavoSettingsView::TavoSettingsView(ModelObserver& observer, const QString& machineNoun, QWidget* parent)
    : QWidget(parent), observer(observer), background(new TavoWindowGlassBackground(this)),
      pages(new QStackedLayout(this)) {
    welcome = new TavoWelcomeView(
        observer, machineNoun, [this] { setShowsSettings(true); }, this);
    pages->addWidget(welcome);
    background->lower();
    // A click outside the controls takes the focus from them.
    setFocusPolicy(Qt::ClickFocus);

    const auto onKey = [this](int key, void (TavoAppModel::*operation)()) {
        auto* shortcut = new QShortcut(QKeySequence(key), this);
        connect(shortcut, &QShortcut::activated, this, [this, operation] {
            if (showsSettings()) {
                (this->observer.model().*operation)();
            }
        });
    };
    onKey(Qt::Key_Return, &TavoAppModel::saveDraft);
    onKey(Qt::Key_Enter, &TavoAppModel::saveDraft);
    onKey(Qt::Key_Escape, &TavoAppModel::revertDraft);
    connect(&observer, &ModelObserver::changed, this, &TavoSettingsView::showModel);
    connect(&observer, &ModelObserver::settingsAsked, this, [this] { setShowsSettings(true); });
}

void TavoSettingsView::setShowsSettings(bool shows) {
    if (shows && pages->count() == 1) {
        pages->addWidget(makeSettings());
        showModel();
    }
    pages->setCurrentIndex(shows ? 1 : 0);
}

QWidget* TavoSettingsView::makeSettings() {
    auto* content = new QWidget;
    auto* sections = new QVBoxLayout(content);
    sections->setContentsMargins(sideMargin, 4, sideMargin - SlimScrollBar::thickness, 14);
    sections->setSpacing(7);
    sections->addWidget(new TavoWakeSettings(observer));
    sections->addWidget(new TavoSystemSettings(observer));
    sections->addStretch();

    auto* scroll = new RowScroll;
    scroll->setVerticalScrollBar(new SlimScrollBar(Qt::Vertical));
    scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    for (auto* control : content->findChildren<QWidget*>()) {
        if ((control->focusPolicy() & Qt::TabFocus) != 0 || qobject_cast<QRadioButton*>(control) != nullptr) {
            control->installEventFilter(scroll);
        }
    }
    // The background of the window shows through.
    scroll->viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);

    notices = new NoticeList;
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(new TavoStatusHeader(observer));
    layout->addWidget(scroll, 1);
    layout->addWidget(new NoticeArea(notices));
    layout->addWidget(new TavoSettingsFooter(observer));
    return page;
}

void TavoSettingsView::setHint(const QString& hint) {
    hintText = hint;
    welcome->setHint(hint);
    showModel();
}

void TavoSettingsView::showModel() {
    if (notices != nullptr) {
        notices->setNotices(UserNotices::of(observer.model()).withHint(hintText.toStdString()));
    }
}

void TavoSettingsView::resizeEvent(QResizeEvent* event) {
    background->setGeometry(rect());
    QWidget::resizeEvent(event);
}

} // namespace tavo
