#include "system/DecimalText.h"

#if __has_include(<xlocale.h>)
#include <xlocale.h>
#endif

#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale() is POSIX's and not in <clocale>

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <string>

namespace tavo {

namespace {

std::size_t takeDigits(std::string_view& text) {
    const auto count = std::min(text.find_first_not_of("0123456789"), text.size());
    text.remove_prefix(count);
    return count;
}

void takeSign(std::string_view& text) {
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        text.remove_prefix(1);
    }
}

bool takeOne(std::string_view& text, std::string_view candidates) {
    if (text.empty() || candidates.find(text.front()) == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

bool isDecimal(std::string_view text) {
    takeSign(text);
    auto digits = takeDigits(text);
    if (takeOne(text, ".")) {
        digits += takeDigits(text);
    }
    if (digits > 0 && takeOne(text, "eE")) {
        takeSign(text);
        digits = takeDigits(text);
    }
    return digits > 0 && text.empty();
}

} // namespace

std::optional<std::int32_t> parseInt32(std::string_view text) {
    // from_chars knows the minus alone.
    if (text.starts_with('+') && !text.starts_with("+-")) {
        text.remove_prefix(1);
    }
    std::int32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::optional<double> parseDecimal(std::string_view text) {
    if (!isDecimal(text)) {
        return std::nullopt;
    }
    // strtod() follows the process's locale, and not every standard library has from_chars() for floating point.
    static const locale_t plainLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    const double number = strtod_l(std::string(text).c_str(), nullptr, plainLocale);
    return std::isfinite(number) ? std::optional(number) : std::nullopt;
}

} // namespace tavo
