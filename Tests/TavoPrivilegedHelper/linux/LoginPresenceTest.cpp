#include "TavoPrivilegedHelper/linux/LoginPresence.h"

#include <gtest/gtest.h>

#include <limits>

namespace tavo {
namespace {

TEST(LoginPresence, AUserIsThereWhileLoggedInOrLingering) {
    for (const auto* state : {"active", "online", "lingering"}) {
        EXPECT_TRUE(isPresence(state)) << state;
    }
    for (const auto* state : {"offline", "opening", "closing", "", "Active", "a state of a later version"}) {
        EXPECT_FALSE(isPresence(state)) << state;
    }
}

TEST(LoginPresence, AUserWhomLogindDoesNotKnowIsNotThere) {
    EXPECT_FALSE(isPresent(std::numeric_limits<uid_t>::max() - 1));
}

} // namespace
} // namespace tavo
