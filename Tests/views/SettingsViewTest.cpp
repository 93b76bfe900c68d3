#include "app/views/BatteryStatusBadgeView.h"
#include "app/views/Labels.h"
#include "app/views/NoticeList.h"
#include "app/views/PlainMessageBox.h"
#include "app/views/PopUpButton.h"
#include "app/views/SegmentButton.h"
#include "app/views/SettingsRows.h"
#include "app/views/TavoSettingsView.h"
#include "app/views/TavoSystemSettings.h"
#include "app/views/TavoWelcomeView.h"
#include "app/views/TextField.h"
#include "app/views/Theme.h"
#include "base/WakeControlError.h"
#include "views/FindWidgets.h"
#include "views/Stage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QAccessible>
#include <QHelpEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTextDocumentFragment>
#include <QToolTip>

namespace tavo {
namespace {

using testing::ElementsAre;

class SettingsViewTest : public testing::Test, protected Stage {
protected:
    void open(const AppConfig& config = {}, bool showsSettings = true) {
        begin(config);
        view = std::make_unique<TavoSettingsView>(*observer, "computer");
        view->setShowsSettings(showsSettings);
        view->resize(378, 350);
        view->show();
    }

    /// "title: detail" of the rows that are shown.
    std::vector<std::string> rows() const {
        std::vector<std::string> shown;
        for (const auto* row : partsOf<SettingsControlRow>(*view)) {
            if (!row->isHidden()) {
                shown.push_back((row->title() + ": " + row->detail()).toStdString());
            }
        }
        return shown;
    }

    SettingsControlRow& row(const QString& title) const {
        for (auto* found : partsOf<SettingsControlRow>(*view)) {
            if (found->title() == title) {
                return *found;
            }
        }
        throw std::runtime_error("no row " + title.toStdString());
    }
    SwitchControl& toggle(const QString& title) const { return partOf<SwitchControl>(row(title)); }
    TextField& field(const QString& title) const { return partOf<TextField>(row(title)); }
    TavoButton& button(const QString& text) const { return partWithText<TavoButton>(*view, text); }
    PopUpButton& picker() const { return partOf<PopUpButton>(*view); }
    SettingsActionValueRow& permission() const { return partOf<SettingsActionValueRow>(*view); }
    QString notice() const {
        // The last one is the settings' own; the welcome view has another.
        const auto* list = partsOf<NoticeList>(*view).back();
        return list->isHidden() ? QString() : list->text();
    }

    void choose(const QString& preset) const {
        picker().setCurrentIndex(picker().findData(preset));
        Q_EMIT picker().activated(picker().currentIndex());
    }

    static void type(TextField& into, const QString& text) {
        into.setFocus();
        into.selectAll();
        QTest::keyClick(&into, Qt::Key_Delete);
        QTest::keyClicks(&into, text);
    }

    const AppConfig& draft() const { return model->draftConfig(); }

    std::unique_ptr<TavoSettingsView> view;
};

AppConfig enabled() {
    AppConfig config;
    config.isEnabled = true;
    return config;
}

TEST_F(SettingsViewTest, FirstItWelcomes) {
    open({}, false);
    EXPECT_FALSE(view->showsSettings());
    auto& welcome = partOf<TavoWelcomeView>(*view);
    EXPECT_TRUE(welcome.isVisible());
    EXPECT_NO_THROW(partWithText<QLabel>(welcome, "tavo"));
    EXPECT_NO_THROW(partWithText<QLabel>(welcome, "keep your computer awake"));
    QTest::mouseClick(&partWithText<TavoButton>(welcome, "enable"), Qt::LeftButton);
    EXPECT_TRUE(model->config().isEnabled);
    QTest::mouseClick(&partWithText<TavoButton>(welcome, "pause"), Qt::LeftButton);
    EXPECT_FALSE(model->config().isEnabled);
    QTest::mouseClick(&partWithText<TavoButton>(welcome, "settings"), Qt::LeftButton);
    EXPECT_TRUE(view->showsSettings());
}

TEST_F(SettingsViewTest, TheSettingsAreMadeWhenTheyAreFirstShown) {
    open({}, false);
    EXPECT_THAT(rows(), testing::IsEmpty());
    view->setHint("a hint");
    edit([](AppConfig& draft) { draft.batteryCutoffPercent = 31; });
    view->setShowsSettings(true);
    EXPECT_EQ(field("battery cutoff").text(), "31");
    EXPECT_EQ(notice(), "a hint");
    view->setShowsSettings(false);
    view->setShowsSettings(true);
    EXPECT_EQ(partsOf<TavoSystemSettings>(*view).size(), 1U);
}

TEST_F(SettingsViewTest, TheRowsOfAPreset) {
    open();
    EXPECT_THAT(rows(),
                ElementsAre("preset: no process needed", "keep awake with closed lid: requires extra permission",
                            "keep awake on battery: will drain battery faster",
                            "battery cutoff: app stops below this percentage",
                            "launch at login: ", "closed-lid permission: grant permission"));
}

TEST_F(SettingsViewTest, TheRowsOfARuleOfOnesOwn) {
    open();
    choose("custom");
    EXPECT_THAT(rows(), testing::IsSupersetOf({"preset: while app runs", "custom preset: ", "process: "}));
    EXPECT_EQ(field("process").text(), "codex");
    EXPECT_EQ(field("process").placeholderText(), "name or command");
    EXPECT_TRUE(partWithText<SegmentButton>(*view, "command").isChecked());
    partWithText<SegmentButton>(*view, "executable").click();
    EXPECT_EQ(draft().trigger.matchStrategy, TriggerMatchStrategy::executableName);
    type(field("process"), "make");
    EXPECT_EQ(draft().trigger.query, "make");
    EXPECT_EQ(model->config().trigger, defaultRule(TriggerPreset::always)) << "not before it is saved";
}

TEST_F(SettingsViewTest, ThePickerOffersThePresetsAndCustom) {
    open();
    std::vector<std::string> offered;
    for (int index = 0; index < picker().count(); ++index) {
        offered.push_back(picker().itemText(index).toStdString());
    }
    EXPECT_THAT(offered, ElementsAre("always on", "codex", "claude code", "cursor", "custom"));
    choose("cursor");
    EXPECT_EQ(draft().trigger, defaultRule(TriggerPreset::cursor));
    EXPECT_EQ(picker().currentText(), "cursor");
}

TEST_F(SettingsViewTest, TheSwitchesEditTheDraft) {
    open();
    toggle("keep awake with closed lid").click();
    EXPECT_EQ(draft().watchMode, WatchMode::both);
    EXPECT_EQ(row("keep awake with closed lid").detail(), "warning: overheating risk");
    toggle("keep awake on battery").click();
    EXPECT_EQ(draft().powerSourcePolicy, PowerSourcePolicy::acOnly);
    EXPECT_EQ(row("keep awake on battery").detail(), "on power adapter only");
    toggle("launch at login").click();
    EXPECT_TRUE(draft().launchAtLoginEnabled);
    EXPECT_EQ(login->program, std::nullopt);
    EXPECT_EQ(model->config(), AppConfig::defaultConfig());
}

TEST_F(SettingsViewTest, TheControlsFollowTheDraftWhereverItIsChanged) {
    open();
    auto config = AppConfig::defaultConfig();
    config.watchMode = WatchMode::closed;
    config.powerSourcePolicy = PowerSourcePolicy::acOnly;
    config.batteryCutoffPercent = 55;
    config.launchAtLoginEnabled = true;
    config.trigger = {.mode = TriggerMode::process, .query = "blender"};
    store->saveConfig(config);
    model->evaluateNow();
    EXPECT_TRUE(toggle("keep awake with closed lid").isChecked());
    EXPECT_FALSE(toggle("keep awake on battery").isChecked());
    EXPECT_TRUE(toggle("launch at login").isChecked());
    EXPECT_EQ(field("battery cutoff").text(), "55");
    EXPECT_EQ(field("process").text(), "blender");
    EXPECT_EQ(picker().currentText(), "custom");
    EXPECT_FALSE(model->hasUnsavedEdits()) << "showing is not editing";
}

TEST_F(SettingsViewTest, TheCutoffTakesDigitsAlone) {
    open();
    type(field("battery cutoff"), "3x5-%");
    EXPECT_EQ(field("battery cutoff").text(), "35");
    EXPECT_EQ(draft().batteryCutoffPercent, 35);
    type(field("battery cutoff"), "");
    EXPECT_EQ(draft().batteryCutoffPercent, std::nullopt);
    type(field("battery cutoff"), "05");
    EXPECT_EQ(field("battery cutoff").text(), "05") << "what is being typed is left alone";
    EXPECT_EQ(draft().batteryCutoffPercent, 5);
}

TEST_F(SettingsViewTest, ACutoffWithALeadingZeroIsTheNumberOnceItIsSaved) {
    open();
    type(field("battery cutoff"), "05");
    QTest::mouseClick(&button("save"), Qt::LeftButton);
    EXPECT_EQ(model->config().batteryCutoffPercent, 5);
    EXPECT_EQ(field("battery cutoff").text(), "5");
    type(field("battery cutoff"), "005");
    EXPECT_FALSE(model->hasUnsavedEdits()) << "nothing is there to save";
    Q_EMIT field("battery cutoff").editingFinished();
    EXPECT_EQ(field("battery cutoff").text(), "5");
}

TEST_F(SettingsViewTest, TabbingBringsWholeRowsIntoView) {
    open(enabled());
    choose("custom");
    view->resize(378, 250);
    view->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
    QApplication::processEvents();
    const auto* const scroll = view->findChild<QScrollArea*>();
    const auto isWholeInView = [&](const QString& title) {
        const QRect place(row(title).mapTo(scroll->viewport(), QPoint()), row(title).size());
        return scroll->viewport()->rect().contains(place);
    };
    EXPECT_FALSE(isWholeInView("battery cutoff"));
    toggle("keep awake on battery").setFocus(Qt::TabFocusReason);
    EXPECT_TRUE(isWholeInView("keep awake on battery"));
    QTest::keyClick(view->focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(field("battery cutoff").hasFocus());
    EXPECT_TRUE(isWholeInView("battery cutoff"));
    // From the footer, which is not scrolled, back among the rows.
    scroll->verticalScrollBar()->setValue(0);
    button("cancel").setFocus(Qt::TabFocusReason);
    QTest::keyClick(view->focusWidget(), Qt::Key_Backtab);
    EXPECT_TRUE(permission().button()->hasFocus());
    EXPECT_TRUE(isWholeInView("closed-lid permission"));
}

TEST_F(SettingsViewTest, ALongCommandLeavesTheHeaderItsTwoRows) {
    auto config = enabled();
    config.trigger = {.mode = TriggerMode::process, .query = "a-command-of-twenty-eight-ch"};
    open(config);
    view->resize(300, 350);
    QApplication::processEvents();
    auto& title = partWithText<ElidedLabel>(*view, "waiting for a-command-of-twenty-eight-ch");
    auto& detail = partWithText<ElidedLabel>(*view, "starts when a-command-of-twenty-eight-ch runs");
    EXPECT_TRUE(title.shownText().endsWith(QChar(0x2026)));
    EXPECT_TRUE(detail.shownText().endsWith(QChar(0x2026)) || detail.shownText() == detail.text());
    EXPECT_FALSE(title.geometry().intersects(detail.geometry()));
    EXPECT_GE(title.height(), QFontMetrics(title.font()).height());
    EXPECT_LT(detail.height(), 2 * QFontMetrics(detail.font()).lineSpacing());
}

TEST_F(SettingsViewTest, TheNoticesHaveAnEdge) {
    open(enabled());
    view->resize(378, 350);
    assertionStatus->record(assertionStatus->open(),
                            {.service = AssertionService::logind, .what = "idle", .notice = "sleep was refused."});
    loop->runPosted();
    QApplication::processEvents();
    const auto* const list = partsOf<NoticeList>(*view).back();
    const int top = list->mapTo(view.get(), QPoint()).y();
    const auto image = view->grab().toImage();
    for (const int x : {0, 200, 377}) {
        EXPECT_EQ(image.pixelColor(x, top), Theme::of(view->palette()).separator) << x;
    }
}

TEST_F(SettingsViewTest, ACutoffOfZeroIsRefusedOnSaveWhereTheUserIsLooking) {
    open();
    type(field("battery cutoff"), "0");
    EXPECT_EQ(notice(), "");
    QTest::mouseClick(&button("save"), Qt::LeftButton);
    EXPECT_EQ(notice(), "battery cutoff percent must be between 1 and 100. received 0.");
    QTest::mouseClick(&button("cancel"), Qt::LeftButton);
    EXPECT_EQ(notice(), "");
    EXPECT_EQ(field("battery cutoff").text(), "20");
}

TEST_F(SettingsViewTest, TheFooterOffersWhatThereIsToDo) {
    open(enabled());
    EXPECT_TRUE(button("cancel").isHidden());
    EXPECT_EQ(button("save").tone(), ButtonTone::plain);
    EXPECT_EQ(button("pause").tone(), ButtonTone::plain);
    toggle("keep awake on battery").click();
    EXPECT_FALSE(button("cancel").isHidden());
    EXPECT_FALSE(partWithText<QLabel>(*view, "unsaved").isHidden());
    EXPECT_EQ(button("save").tone(), ButtonTone::accent);
    QTest::mouseClick(&button("save"), Qt::LeftButton);
    EXPECT_EQ(model->config().powerSourcePolicy, PowerSourcePolicy::acOnly);
    EXPECT_TRUE(button("cancel").isHidden());
    EXPECT_TRUE(partWithText<QLabel>(*view, "unsaved").isHidden());
}

TEST_F(SettingsViewTest, ReturnSavesAndEscapeCancels) {
    open();
    view->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
    type(field("battery cutoff"), "44");
    QTest::keyClick(&field("battery cutoff"), Qt::Key_Return);
    EXPECT_EQ(model->config().batteryCutoffPercent, 44);
    toggle("keep awake on battery").click();
    QTest::keyClick(view.get(), Qt::Key_Escape);
    EXPECT_FALSE(model->hasUnsavedEdits());
}

TEST_F(SettingsViewTest, ReturnOnAButtonIsThatButton) {
    open();
    view->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
    toggle("keep awake on battery").click();
    button("cancel").setFocus();
    QTest::keyClick(&button("cancel"), Qt::Key_Return);
    EXPECT_EQ(model->config(), AppConfig::defaultConfig()) << "cancelled, not saved";
    EXPECT_FALSE(model->hasUnsavedEdits());
}

TEST_F(SettingsViewTest, KeysInThePickersListAreTheLists) {
    open();
    view->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
    toggle("keep awake with closed lid").click();
    picker().showPopup();
    QTest::keyClick(picker().view(), Qt::Key_Escape);
    EXPECT_TRUE(model->hasUnsavedEdits()) << "the list was closed, and nothing else";
    picker().showPopup();
    QTest::keyClick(picker().view(), Qt::Key_Down);
    QTest::keyClick(picker().view(), Qt::Key_Return);
    EXPECT_EQ(model->config(), AppConfig::defaultConfig()) << "chosen, not saved";
}

TEST_F(SettingsViewTest, TheKeyboardComesToTheChosenSegment) {
    open();
    choose("custom");
    auto& executable = partWithText<SegmentButton>(*view, "executable");
    auto& command = partWithText<SegmentButton>(*view, "command");
    EXPECT_EQ(command.focusPolicy(), Qt::StrongFocus);
    EXPECT_EQ(executable.focusPolicy(), Qt::ClickFocus);
    executable.click();
    EXPECT_EQ(executable.focusPolicy(), Qt::StrongFocus);
}

TEST_F(SettingsViewTest, ALongErrorLeavesRoomForTheSettings) {
    open(enabled());
    folder.write("config.json", R"({"isEnabled": ")" + std::string(900, 'x') + "\"");
    model->evaluateNow();
    std::string path;
    for (int word = 0; word < 120; ++word) {
        path += "a word ";
    }
    assertionStatus->record(assertionStatus->open(),
                            {.service = AssertionService::logind, .what = "idle", .notice = path});
    loop->runPosted();
    QApplication::processEvents();
    const auto* list = partsOf<NoticeList>(*view).back();
    EXPECT_LT(list->heightForWidth(348), 160);
    EXPECT_TRUE(list->toolTip().contains(QString::fromStdString(path))) << "the whole of it is there";
}

TEST(PlainText, AToolTipAndADialogShowMarkupAsItStands) {
    const std::string error = "<b>bold</b> & <img src=x>\nsecond line";
    NoticeList list;
    list.setNotices({.errors = {error}, .warnings = {}});
    list.show();
    QHelpEvent help(QEvent::ToolTip, QPoint(1, 1), list.mapToGlobal(QPoint(1, 1)));
    QApplication::sendEvent(&list, &help);
    ASSERT_TRUE(Qt::mightBeRichText(QToolTip::text())) << "else the tool tip would show our escapes";
    EXPECT_EQ(QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText().replace(QChar::LineSeparator, u'\n'),
              QString::fromStdString(error));
    QToolTip::hideText();

    const PlainMessageBox box(QMessageBox::Critical, error);
    EXPECT_EQ(box.textFormat(), Qt::PlainText);
    EXPECT_EQ(box.text(), QString::fromStdString(error));
}

TEST_F(SettingsViewTest, OnTheWelcomeViewTheKeysSaveNothing) {
    open({}, false);
    edit([](AppConfig& edited) { edited.batteryCutoffPercent = 44; });
    QTest::keyClick(view.get(), Qt::Key_Return);
    EXPECT_TRUE(model->hasUnsavedEdits());
}

TEST_F(SettingsViewTest, ThePermissionRowIsForEachStateOfTheHelper) {
    open();
    EXPECT_EQ(permission().value(), "not granted");
    EXPECT_EQ(permission().button()->text(), "grant");
    EXPECT_FALSE(permission().showsLabelCheckmark());
    EXPECT_TRUE(permission().button()->isEnabled());

    installHelper();
    model->refresh();
    EXPECT_EQ(permission().value(), "");
    EXPECT_EQ(permission().detail(), "permission granted");
    EXPECT_EQ(permission().button()->text(), "reset");
    EXPECT_TRUE(permission().showsLabelCheckmark());

    installHelper("another build's");
    model->refresh();
    EXPECT_EQ(permission().button()->text(), "refresh");

    helper->otherwise = PrivilegedHelperResponse::ok();
    model->refresh();
    EXPECT_EQ(permission().value(), "needs refresh");
    EXPECT_EQ(permission().detail(), "permission denied");
    EXPECT_EQ(permission().button()->text(), "refresh");
    EXPECT_FALSE(permission().showsLabelCheckmark());
}

TEST_F(SettingsViewTest, GrantingIsBusyAndThenGranted) {
    administrator->onRun = [this] { installHelper(); };
    open();
    permission().button()->click();
    EXPECT_FALSE(permission().button()->isEnabled());
    permission().button()->click();
    EXPECT_EQ(administrator->commands.size(), 1U);
    loop->runPosted();
    EXPECT_TRUE(permission().button()->isEnabled());
    EXPECT_EQ(permission().detail(), "permission granted");
    EXPECT_TRUE(model->config().closedLidPermissionGranted);
}

TEST_F(SettingsViewTest, ResettingAsksTheHelperItself) {
    installHelper();
    open();
    helper->onSend = [this](const PrivilegedHelperCommand& command) {
        if (command == PrivilegedHelperCommand::resetSupport()) {
            removeHelper();
        }
    };
    permission().button()->click();
    loop->runPosted();
    EXPECT_TRUE(administrator->commands.empty());
    EXPECT_EQ(permission().button()->text(), "grant");
}

TEST_F(SettingsViewTest, WithoutAHelperInThisBuildThereIsNothingToGrant) {
    helperSource.reset();
    open();
    EXPECT_FALSE(permission().button()->isEnabled());
}

TEST_F(SettingsViewTest, TheHeaderReadsPausedWhileSwitchedOff) {
    power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 42};
    open();
    EXPECT_NO_THROW(partWithText<QLabel>(*view, "paused"));
    EXPECT_EQ(partOf<BatteryStatusBadgeView>(*view).text(), "42%");
    model->toggleEnabled();
    EXPECT_NO_THROW(partWithText<QLabel>(*view, "keeping computer awake"));
}

TEST_F(SettingsViewTest, TheHeaderShowsAFailuresOwnWords) {
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("no means."));
    open(enabled());
    EXPECT_NO_THROW(partWithText<QLabel>(*view, "needs attention"));
    EXPECT_NO_THROW(partWithText<QLabel>(*view, "no means."));
}

TEST_F(SettingsViewTest, AFailureOfAnyLengthLeavesTheWindowItsWidth) {
    const auto path = "/" + std::string(500, 'x');
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("could not run " + path + "."));
    open(enabled());
    EXPECT_LE(view->minimumSizeHint().width(), 378);
    EXPECT_LE(partWithText<QLabel>(*view, QString::fromStdString("could not run " + path + ".")).height(), 30)
        << "the notice has the whole of it";
}

TEST_F(SettingsViewTest, ErrorsAndWarningsAreShownAndGoWhenTheyAreResolved) {
    open(enabled());
    assertionStatus->record(assertionStatus->open(),
                            {.service = AssertionService::logind, .what = "idle", .notice = "sleep was refused."});
    loop->runPosted();
    EXPECT_EQ(notice(), "sleep was refused.");
    folder.write("config.json", "{");
    model->evaluateNow();
    EXPECT_TRUE(notice().startsWith("config.json cannot be used"));
    store->saveConfig(enabled());
    model->evaluateNow();
    EXPECT_EQ(notice(), "sleep was refused.");
}

TEST_F(SettingsViewTest, AHintIsSaidOnBothViews) {
    open({}, false);
    view->setHint("no tray here.");
    for (const auto* list : partsOf<NoticeList>(*view)) {
        EXPECT_EQ(list->text(), "no tray here.");
    }
}

TEST_F(SettingsViewTest, EveryControlHasANameAndARole) {
    open();
    choose("custom");
    std::vector<std::string> named;
    for (auto* widget : view->findChildren<QWidget*>()) {
        if (!widget->isVisibleTo(view.get()) || widget->focusPolicy() == Qt::NoFocus ||
            (widget->focusPolicy() & Qt::TabFocus) == 0) {
            continue;
        }
        auto* interface = QAccessible::queryAccessibleInterface(widget);
        ASSERT_NE(interface, nullptr);
        EXPECT_NE(interface->text(QAccessible::Name), "") << widget->metaObject()->className();
        EXPECT_NE(interface->role(), QAccessible::Client) << widget->metaObject()->className();
        // The name of a picker is its value on some systems; the label's relation says what it is for.
        const auto labels = interface->relations(QAccessible::Label);
        named.push_back((interface->role() == QAccessible::ComboBox && !labels.empty()
                             ? labels.front().first->text(QAccessible::Name)
                             : interface->text(QAccessible::Name))
                            .toStdString());
    }
    EXPECT_THAT(named, testing::IsSupersetOf({"preset", "command", "process", "keep awake with closed lid",
                                              "keep awake on battery", "battery cutoff", "launch at login",
                                              "grant closed-lid permission", "cancel", "save", "enable"}));
}

TEST_F(SettingsViewTest, NothingIsWiderThanTheWindow) {
    for (const int pixels : {13, 20, 26}) {
        for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
            const FontSize size(pixels);
            QApplication::setLayoutDirection(direction);
            helper->otherwise = PrivilegedHelperResponse::ok();
            installHelper();
            open();
            view->resize(378 * pixels / 13, 350 * pixels / 13);
            choose("custom");
            QApplication::processEvents();
            const auto* scroll = view->findChild<QScrollArea*>();
            EXPECT_LE(scroll->widget()->width(), scroll->viewport()->width()) << pixels;
            view.reset();
            QApplication::setLayoutDirection(Qt::LeftToRight);
        }
    }
}

} // namespace
} // namespace tavo
