#include "Console.h"

#include "base/Text.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace tavo {

namespace {

/// Select Graphic Rendition parameters (ECMA-48).
std::string_view renditionOf(Emphasis emphasis) {
    switch (emphasis) {
    case Emphasis::none:
        return {};
    case Emphasis::strong:
        return "1";
    case Emphasis::good:
        return "32";
    case Emphasis::warning:
        return "33";
    case Emphasis::bad:
        return "31";
    }
    return {};
}

bool wantsColour(std::FILE* stream) {
    const char* noColour = std::getenv("NO_COLOR");
    return isatty(fileno(stream)) == 1 && (noColour == nullptr || noColour[0] == '\0');
}

} // namespace

std::string shownJson(const Json& value, int indentation) {
    return escapedControlsInJson(value.dump(indentation, ' ', false, Json::error_handler_t::replace));
}

Console::Console(std::FILE* stream) : stream(stream), hasColour(wantsColour(stream)) {}

std::string Console::styled(std::string_view text, Emphasis emphasis) const {
    const auto rendition = renditionOf(emphasis);
    return hasColour && !rendition.empty() ? fmt::format("\x1B[{}m{}\x1B[0m", rendition, text) : std::string(text);
}

void Console::print(std::string_view line) const {
    const auto text = std::string(line) + "\n";
    if (std::fwrite(text.data(), 1, text.size(), stream) != text.size() || std::fflush(stream) != 0) {
        throw OutputError(errno, std::generic_category(), "the output cannot be written");
    }
}

} // namespace tavo
