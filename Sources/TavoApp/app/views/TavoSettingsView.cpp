#include "app/views/TavoSettingsView.h"

#include "app/views/NoticeList.h"
#include "app/views/SlimScrollBar.h"
#include "app/views/TavoSettingsFooter.h"
#include "app/views/TavoStatusHeader.h"
#include "app/views/TavoSystemSettings.h"
#include "app/views/TavoWakeSettings.h"
#include "app/views/TavoWelcomeView.h"
#include "app/views/TavoWindowGlassBackground.h"

#include <QResizeEvent>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>

namespace tavo {

namespace {

constexpr int sideMargin = 15;

} // namespace

TavoSettingsView::TavoSettingsView(ModelObserver& observer, const QString& machineNoun, QWidget* parent)
    : QWidget(parent), observer(observer), background(new TavoWindowGlassBackground(this)),
      pages(new QStackedLayout(this)) {
    welcome = new TavoWelcomeView(
        observer, machineNoun, [this] { setShowsSettings(true); }, this);
    pages->addWidget(welcome);
    pages->addWidget(makeSettings());
    background->lower();
    // A click beside the controls takes the keyboard from them.
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
    showModel();
}

QWidget* TavoSettingsView::makeSettings() {
    auto* content = new QWidget;
    auto* sections = new QVBoxLayout(content);
    sections->setContentsMargins(sideMargin, 3, sideMargin - SlimScrollBar::thickness, 14);
    sections->setSpacing(10);
    sections->addWidget(new TavoWakeSettings(observer));
    sections->addWidget(new TavoSystemSettings(observer));
    sections->addStretch();

    auto* scroll = new QScrollArea;
    scroll->setVerticalScrollBar(new SlimScrollBar(Qt::Vertical));
    scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    // The ground of the window shows through.
    scroll->viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);

    notices = new NoticeList;
    auto* noticeMargin = new QVBoxLayout;
    noticeMargin->setContentsMargins(sideMargin, 0, sideMargin, 0);
    noticeMargin->addWidget(notices);

    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(new TavoStatusHeader(observer));
    layout->addWidget(scroll, 1);
    layout->addLayout(noticeMargin);
    layout->addWidget(new TavoSettingsFooter(observer));
    return page;
}

void TavoSettingsView::setHint(const QString& hint) {
    hintText = hint;
    welcome->setHint(hint);
    showModel();
}

void TavoSettingsView::showModel() {
    notices->setNotices(UserNotices::of(observer.model()).withHint(hintText.toStdString()));
}

void TavoSettingsView::resizeEvent(QResizeEvent* event) {
    background->setGeometry(rect());
    QWidget::resizeEvent(event);
}

} // namespace tavo
