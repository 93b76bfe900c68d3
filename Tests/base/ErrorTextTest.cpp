#include "base/ErrorText.h"

#include "base/DescribedError.h"

#include <gtest/gtest.h>

#include <system_error>

namespace tavo {
namespace {

TEST(ErrorText, ADescribedErrorStaysAsItIsByteForByte) {
    for (const auto* text : {"trigger query must not be empty.", "could not parse ps output line: Abc ",
                             "closed-lid support could not be fully reset", "Error: User canceled. (-128)", ""}) {
        EXPECT_EQ(errorText(DescribedError(text)), text);
    }
}

TEST(ErrorText, AnotherErrorIsASentenceThatEndsWithOneFullStop) {
    EXPECT_EQ(errorText(std::runtime_error("it failed")), "it failed.");
    EXPECT_EQ(errorText(std::runtime_error("it failed. ")), "it failed.");
    EXPECT_EQ(errorClause(std::runtime_error("it failed.")), "it failed");
    EXPECT_EQ(errorClause(std::runtime_error("")), "");
}

TEST(ErrorText, TheSystemsTextLosesItsCapital) {
    const std::system_error error(EACCES, std::generic_category(), "could not open /Some/File");
    EXPECT_EQ(errorText(error), "could not open /Some/File: permission denied.");
}

TEST(ErrorText, AnAbbreviationKeepsItsCapitals) {
    EXPECT_EQ(errorClause(std::runtime_error("JSON ends too early")), "JSON ends too early");
    EXPECT_EQ(errorClause(std::runtime_error("Access denied")), "access denied");
}

} // namespace
} // namespace tavo
