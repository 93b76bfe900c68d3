#include "app/views/TrayWatch.h"

#include "Support/ManualMainLoop.h"
#include "Support/ScriptedTrayWatch.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

constexpr std::chrono::seconds justBefore{static_cast<int>(TrayHint::patience) - 1};
constexpr std::chrono::seconds theLast{1};

class TrayHintTest : public testing::Test {
protected:
    TrayHintTest() {
        QObject::connect(&hint, &TrayHint::changed, &hint, [this] { ++changes; });
    }

    bool isSaid() const { return hint.text().startsWith("this desktop shows no tray"); }

    ManualMainLoop loop{TimePoint()};
    ScriptedTrayWatch tray;
    TrayHint hint{tray, loop};
    int changes = 0;
};

TEST_F(TrayHintTest, WaitsForATrayBeforeItSaysThatThereIsNone) {
    EXPECT_FALSE(isSaid());
    loop.advance(justBefore);
    EXPECT_FALSE(isSaid());
    loop.advance(theLast);
    EXPECT_TRUE(isSaid());
    EXPECT_EQ(changes, 1);
}

TEST_F(TrayHintTest, ATrayThatComesALittleLaterLeavesNothingToSay) {
    loop.advance(justBefore);
    tray.set(true);
    loop.advance(std::chrono::hours{1});
    EXPECT_FALSE(isSaid());
    EXPECT_EQ(changes, 0);
}

TEST_F(TrayHintTest, ATrayThatComesLateTakesItBackAtOnce) {
    loop.advance(justBefore + theLast);
    ASSERT_TRUE(isSaid());
    tray.set(true);
    EXPECT_FALSE(isSaid());
    EXPECT_EQ(changes, 2);
}

TEST_F(TrayHintTest, ATrayThatGoesHasItsTimeToComeBack) {
    tray.set(true);
    tray.set(false);
    loop.advance(justBefore);
    tray.set(false);
    EXPECT_FALSE(isSaid());
    loop.advance(theLast);
    EXPECT_TRUE(isSaid()) << "hearing of it again is no reason to wait longer";
}

} // namespace
} // namespace tavo
