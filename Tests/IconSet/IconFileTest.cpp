#include "IconSet/IconFile.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

using namespace std::string_literals;

TEST(IconFile, EachPictureHasItsTypeAndItsLengthBeforeIt) {
    EXPECT_EQ(icnsFile({{"ic07", "abc"}, {"ic10", ""}}),
              "icns\x00\x00\x00\x1B"s + "ic07\x00\x00\x00\x0B"s + "abc" + "ic10\x00\x00\x00\x08"s);
    EXPECT_EQ(icnsFile({}), "icns\x00\x00\x00\x08"s);
}

TEST(IconFile, ALengthTakesFourBytes) {
    const auto file = icnsFile({{"ic10", std::string(70000, 'x')}});
    EXPECT_EQ(file.substr(8, 8), "ic10\x00\x01\x11\x78"s);
}

} // namespace
} // namespace tavo
