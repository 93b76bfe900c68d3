#include "base/SharedText.h"

#include <algorithm>

namespace tavo {

SharedText TextKeeper::keep(std::string_view text) {
    if (text.size() > pieceSize / 4) {
        return text; // the rest of a piece would be lost to it
    }
    if (text.size() > pieceSize - used) {
        piece = std::shared_ptr<char[]>(new char[pieceSize]);
        used = 0;
    }
    char* const start = piece.get() + used;
    std::copy(text.begin(), text.end(), start);
    used += text.size();
    return {std::shared_ptr<const void>(piece, start), std::string_view(start, text.size())};
}

} // namespace tavo
