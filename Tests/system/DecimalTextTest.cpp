#include "system/DecimalText.h"

#include "system/FolderTree.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavo {
namespace {

TEST(DecimalText, IntegersAreDigitsWithAtMostOneSign) {
    const std::vector<std::pair<std::string, std::int32_t>> table{{"0", 0},
                                                                  {"42", 42},
                                                                  {"+7", 7},
                                                                  {"-7", -7},
                                                                  {"007", 7},
                                                                  {"2147483647", 2147483647},
                                                                  {"-2147483648", INT32_MIN}};
    for (const auto& [text, number] : table) {
        EXPECT_EQ(parseInt32(text), number) << text;
    }
    for (const auto* text : {"", "+", "-", "+-7", "-+7", "++7", "--7", " 7", "7 ", "7x", "x7", "0x7", "7.0", "1e3",
                             "2147483648", "-2147483649", "99999999999999999999", "٣"}) {
        EXPECT_EQ(parseInt32(text), std::nullopt) << text;
    }
}

TEST(DecimalText, DecimalsAreReadWhole) {
    const std::vector<std::pair<std::string, double>> table{
        {"0", 0},       {"12", 12},    {"12.5", 12.5}, {".5", 0.5},    {"5.", 5},       {"+1.5", 1.5},
        {"-1.5", -1.5}, {"1e3", 1000}, {"1E-1", 0.1},  {"2.5e+1", 25}, {"007.50", 7.5}, {"1e-999", 0.0}};
    for (const auto& [text, number] : table) {
        EXPECT_EQ(parseDecimal(text), number) << text;
    }
    for (const auto* text :
         {"",   ".",  "+",    "-",     "+.",  "e3",  "1e",       "1e+",  ".e1",   "1.2.3", "1,5", " 1",    "1 ",
          "1x", "x1", "0x10", "0x1p3", "inf", "nan", "infinity", "-inf", "1e999", "--1",   "+-1", "1_000", "1'000"}) {
        EXPECT_EQ(parseDecimal(text), std::nullopt) << text;
    }
    EXPECT_EQ(parseDecimal(std::string_view("1\0", 2)), std::nullopt);
}

/// Sets a locale with a decimal comma for the whole process while it lives: one of the system's, else one that is
/// compiled for the occasion.
class CommaLocale {
public:
    CommaLocale() {
        for (const auto* name :
             {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8", "pt_BR.UTF-8", "tavo_comma"}) {
            if (std::string_view(name) == "tavo_comma" && !compile()) {
                return;
            }
            if (std::setlocale(LC_ALL, name) != nullptr && *std::localeconv()->decimal_point == ',') {
                isSet = true;
                return;
            }
        }
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    ~CommaLocale() {
        std::setlocale(LC_ALL, "C");
        unsetenv("LOCPATH");
    }

    bool isSet = false;

private:
    bool compile() const {
        const auto command = "localedef --no-archive -f UTF-8 -i de_DE '" + (folder.root() / "tavo_comma").string() +
                             "' >/dev/null 2>&1";
        // localedef ends with 1 for mere warnings; whether the locale is there shows when it is set.
        return std::system(command.c_str()) != -1 && setenv("LOCPATH", folder.root().c_str(), 1) == 0;
    }

    FolderTree folder;
};

TEST(DecimalText, TheProcesssLocaleDoesNotCount) {
    const CommaLocale locale;
    if (!locale.isSet) {
        GTEST_SKIP() << "no locale with a decimal comma is installed, and localedef cannot make one";
    }
    ASSERT_EQ(std::strtod("1,5", nullptr), 1.5) << "the locale is not in force";
    EXPECT_EQ(parseDecimal("1.5"), 1.5);
    EXPECT_EQ(parseDecimal("1,5"), std::nullopt);
}

} // namespace
} // namespace tavo
