#include "TavoPrivilegedHelper/AbsenceConfirmation.h"

#include "Support/ManualHelperTimers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace tavo {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

/// Users 1000 and 1001 have overrides.
class Absence : public testing::Test {
protected:
    std::set<uid_t> holders{1000, 1001};
    std::set<uid_t> present{1000, 1001};
    std::vector<uid_t> ended;
    std::shared_ptr<ManualHelperTimers> timers = std::make_shared<ManualHelperTimers>();
    AbsenceConfirmation absence{timers, [this](uid_t user) { return present.contains(user); },
                                [this](const AbsenceConfirmation::IsServed& isServed) {
                                    std::erase_if(holders, [&](uid_t user) {
                                        if (isServed(user)) {
                                            return false;
                                        }
                                        ended.push_back(user);
                                        return true;
                                    });
                                }};
};

TEST_F(Absence, EndsOverridesOfAUserWhoStaysAway) {
    present.erase(1000);
    absence.check();
    timers->advance(AbsenceConfirmation::pause - milliseconds{1});
    EXPECT_THAT(ended, IsEmpty());
    timers->advance(milliseconds{1});
    EXPECT_THAT(ended, ElementsAre(1000));
    timers->advance(AbsenceConfirmation::pause * 10);
    EXPECT_THAT(ended, ElementsAre(1000));
}

TEST_F(Absence, EndsNothingOfAUserWhoIsBackSoon) {
    present.erase(1000);
    absence.check();
    present.insert(1000);
    timers->advance(AbsenceConfirmation::pause);
    EXPECT_THAT(ended, IsEmpty());
    present.erase(1000);
    absence.check();
    EXPECT_THAT(ended, IsEmpty()) << "the earlier absence is over, and does not count";
    timers->advance(AbsenceConfirmation::pause);
    EXPECT_THAT(ended, ElementsAre(1000));
}

TEST_F(Absence, ABurstOfChangesConfirmsNothing) {
    present.erase(1000);
    for (int change = 0; change < 10; ++change) {
        absence.check();
    }
    EXPECT_THAT(ended, IsEmpty());
    present.insert(1000);
    timers->advance(AbsenceConfirmation::pause);
    EXPECT_THAT(ended, IsEmpty());
}

TEST_F(Absence, AUserWhoGoesDuringThePauseIsConfirmedAfterAnother) {
    present.erase(1000);
    absence.check();
    timers->advance(AbsenceConfirmation::pause - milliseconds{1});
    present.erase(1001);
    absence.check();
    timers->advance(milliseconds{1});
    EXPECT_THAT(ended, ElementsAre(1000));
    timers->advance(AbsenceConfirmation::pause);
    EXPECT_THAT(ended, ElementsAre(1000, 1001));
}

} // namespace
} // namespace tavo
