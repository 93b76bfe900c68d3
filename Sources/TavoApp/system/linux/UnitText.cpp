#include "system/linux/UnitText.h"

namespace tavo {

std::string unitWord(const std::filesystem::path& path) {
    std::string word = "\"";
    for (const char character : path.string()) {
        if (character == '"' || character == '\\') {
            word += '\\';
        } else if (character == '%' || character == '$') {
            word += character;
        }
        word += character;
    }
    return word + '"';
}

} // namespace tavo
