#include "base/UserID.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(UserID, IsTheNumberInDigits) {
    EXPECT_EQ(parseUserID("0"), 0U);
    EXPECT_EQ(parseUserID("1000"), 1000U);
    EXPECT_EQ(parseUserID("4294967294"), 4294967294U);
}

TEST(UserID, AnythingElseNamesNobody) {
    for (const auto* text : {"", "me", "-1", "+1", "1 ", " 1", "1x", "0x1", "1\n", "4294967296"}) {
        EXPECT_EQ(parseUserID(text), std::nullopt) << text;
    }
    EXPECT_EQ(parseUserID("4294967295"), std::nullopt) << "the kernel's word for no user";
}

} // namespace
} // namespace tavo
