#include "base/WrappedText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::ElementsAre;

TEST(WrappedText, LinesBreakAtSpacesAndNoWordIsCut) {
    EXPECT_THAT(wrapped("one two three", 7), ElementsAre("one two", "three"));
    EXPECT_THAT(wrapped("one two three", 6), ElementsAre("one", "two", "three"));
    EXPECT_THAT(wrapped("incomprehensible one", 5), ElementsAre("incomprehensible", "one"));
    EXPECT_THAT(wrapped("\u00E4\u00E4 \u00F6", 4), ElementsAre("\u00E4\u00E4 \u00F6")) << "bytes are no characters";
    EXPECT_THAT(wrapped("", 5), ElementsAre(""));
}

} // namespace
} // namespace tavo
