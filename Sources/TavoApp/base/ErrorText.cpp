#include "base/ErrorText.h"

#include "base/DescribedError.h"

#include <cctype>
#include <system_error>

namespace tavo {

namespace {

bool isUpper(char character) {
    return std::isupper(static_cast<unsigned char>(character)) != 0;
}

/// An abbreviation stays as it is.
void lowerCapital(std::string& text, std::size_t at) {
    if (at < text.size() && isUpper(text[at]) && (at + 1 == text.size() || !isUpper(text[at + 1]))) {
        text[at] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[at])));
    }
}

} // namespace

std::string errorClause(const std::exception& error) {
    std::string text = error.what();
    if (const auto* systemError = dynamic_cast<const std::system_error*>(&error)) {
        lowerCapital(text, text.rfind(systemError->code().message()));
    }
    lowerCapital(text, 0);
    while (text.ends_with('.') || text.ends_with(' ')) {
        text.pop_back();
    }
    return text;
}

std::string errorText(const std::exception& error) {
    return dynamic_cast<const DescribedError*>(&error) != nullptr ? error.what() : errorClause(error) + ".";
}

} // namespace tavo
