#include "app/views/TavoMenuBarView.h"

#include "views/FindWidgets.h"
#include "views/Stage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTest>

namespace tavo {
namespace {

using testing::ElementsAre;

class MenuBarViewTest : public testing::Test, protected Stage {
protected:
    void open(const AppConfig& config = {}) {
        begin(config);
        view = std::make_unique<TavoMenuBarView>(*observer, [this] { ++actions; });
        view->show();
    }

    MenuBarActionRow& row(std::size_t index) const { return *partsOf<MenuBarActionRow>(*view).at(index); }
    MenuBarHeaderStatusIndicator& indicator() const { return partOf<MenuBarHeaderStatusIndicator>(*view); }

    /// All the texts of labels that are shown, from top to bottom.
    std::vector<std::string> texts() const {
        std::vector<std::string> shown;
        for (const auto* label : view->findChildren<QLabel*>()) {
            if (!label->isHidden()) {
                shown.push_back(label->text().toStdString());
            }
        }
        return shown;
    }

    std::unique_ptr<TavoMenuBarView> view;
    int actions = 0;
};

AppConfig enabled() {
    AppConfig config;
    config.isEnabled = true;
    return config;
}

TEST_F(MenuBarViewTest, PausedItOffersToEnable) {
    open();
    EXPECT_THAT(texts(), ElementsAre("tavo", "paused"));
    EXPECT_EQ(indicator().title(), "paused");
    EXPECT_EQ(indicator().tone(), PillTone::disabled);
    EXPECT_EQ(row(0).text(), "enable");
    EXPECT_EQ(row(0).systemImageName(), "play.fill");
    EXPECT_EQ(row(1).text(), "settings");
    EXPECT_EQ(row(1).systemImageName(), "slider.horizontal.3");
    EXPECT_EQ(row(2).text(), "quit");
    EXPECT_EQ(row(2).systemImageName(), "xmark");
}

TEST_F(MenuBarViewTest, OnItOffersToPause) {
    open(enabled());
    EXPECT_THAT(texts(), ElementsAre("tavo", "keeping computer awake"));
    EXPECT_EQ(indicator().title(), "on");
    EXPECT_EQ(indicator().tone(), PillTone::enabled);
    EXPECT_EQ(row(0).text(), "pause");
    EXPECT_EQ(row(0).systemImageName(), "pause.fill");
}

TEST_F(MenuBarViewTest, TheIndicatorSaysWhetherItIsOnAndTheTitleWhatItDoes) {
    auto config = enabled();
    config.trigger = defaultRule(TriggerPreset::codex);
    open(config);
    EXPECT_EQ(indicator().title(), "on");
    EXPECT_THAT(texts(), ElementsAre("tavo", "waiting for codex"));
}

TEST_F(MenuBarViewTest, AWordThatDoesNotBreakIsElidedAndThePanelKeepsItsWidth) {
    open(enabled());
    const int width = view->width();
    auto config = enabled();
    config.trigger = {.mode = TriggerMode::process, .query = std::string(80, 'x')};
    store->saveConfig(config);
    model->evaluateNow();
    QApplication::processEvents();
    const QString text = "waiting for " + QString(80, 'x');
    const auto& status = partWithText<ElidedLabel>(*view, text);
    EXPECT_TRUE(status.shownText().startsWith("waiting for\n"));
    EXPECT_TRUE(status.shownText().endsWith(QChar(0x2026)));
    EXPECT_EQ(view->width(), width);
    EXPECT_LT(status.geometry().right(), indicator().x());
}

TEST_F(MenuBarViewTest, TheToggleFollowsTheAppliedConfigurationAndNotTheDraft) {
    open();
    edit([](AppConfig& draft) { draft.isEnabled = true; });
    EXPECT_EQ(row(0).text(), "enable");
    model->toggleEnabled();
    EXPECT_EQ(row(0).text(), "pause");
}

TEST_F(MenuBarViewTest, TheWarningIsThereOnlyWhenThePermissionIsMissing) {
    const std::string warning = "extra permission needed to prevent sleep with lid closed";
    auto config = AppConfig::defaultConfig();
    config.watchMode = WatchMode::both;
    open(config);
    EXPECT_THAT(texts(), testing::Contains(warning));
    installHelper();
    model->refresh();
    EXPECT_THAT(texts(), testing::Not(testing::Contains(warning)));
    removeHelper();
    open();
    EXPECT_THAT(texts(), testing::Not(testing::Contains(warning)));
}

TEST_F(MenuBarViewTest, AClickAnywhereInARowIsItsAction) {
    open();
    QTest::mouseClick(&row(0), Qt::LeftButton, {}, {row(0).width() - 2, 2});
    EXPECT_TRUE(model->config().isEnabled);
    EXPECT_EQ(actions, 1) << "the panel goes";
    int settingsAsked = 0;
    QObject::connect(observer.get(), &ModelObserver::settingsAsked, [&] { ++settingsAsked; });
    QTest::mouseClick(&row(1), Qt::LeftButton);
    EXPECT_THAT(application.asked,
                ElementsAre("order out the key window", "make the settings window", "show the settings window"));
    EXPECT_EQ(settingsAsked, 1) << "the settings, and not the welcome view";
    application.asked.clear();
    QTest::mouseClick(&row(2), Qt::LeftButton);
    EXPECT_THAT(application.asked, ElementsAre("terminate"));
}

TEST_F(MenuBarViewTest, TheKeyboardWalksTheRowsAndChooses) {
    open();
    view->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
    row(0).setFocus();
    QTest::keyClick(&row(0), Qt::Key_Down);
    EXPECT_TRUE(row(1).hasFocus());
    QTest::keyClick(&row(1), Qt::Key_Up);
    EXPECT_TRUE(row(0).hasFocus());
    QTest::keyClick(&row(0), Qt::Key_Return);
    EXPECT_TRUE(model->config().isEnabled);
    QTest::keyClick(&row(0), Qt::Key_Space);
    EXPECT_FALSE(model->config().isEnabled);
}

TEST_F(MenuBarViewTest, AnErrorIsShownUntilItIsResolved) {
    open(enabled());
    const int height = view->height();
    folder.write("config.json", "{");
    model->evaluateNow();
    const auto& notices = partOf<NoticeList>(*view);
    EXPECT_TRUE(notices.text().startsWith("config.json cannot be used"));
    EXPECT_FALSE(notices.isHidden());
    EXPECT_GT(view->height(), height) << "nothing is cut";
    store->saveConfig(enabled());
    model->evaluateNow();
    EXPECT_TRUE(notices.isHidden());
    EXPECT_EQ(view->height(), height);
}

} // namespace
} // namespace tavo
