// Feeds arbitrary bytes, in pieces of arbitrary sizes, to the code that reads the helper's socket: nothing but a
// SocketFramingError may come out, the sizes of the pieces must not count, and a reply must survive being written and
// read again.

#include "Require.h"
#include "helper/linux/SocketFraming.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace {

using tavo::require;

template <typename Reader>
auto readInPieces(std::string_view bytes, std::size_t pieceSize) {
    Reader reader;
    decltype(reader.add(bytes)) outcome;
    try {
        while (!outcome && !bytes.empty()) {
            const auto piece = bytes.substr(0, pieceSize);
            bytes.remove_prefix(piece.size());
            outcome = reader.add(piece);
        }
    } catch (const tavo::SocketFramingError&) {
        return decltype(outcome){};
    }
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::size_t pieceSize = data[0] + std::size_t{1};
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto body = readInPieces<tavo::RequestFrameReader>(bytes, pieceSize);
    require(body == readInPieces<tavo::RequestFrameReader>(bytes, bytes.size()), "pieces do not count in a request");
    require(!body || bytes.starts_with(tavo::SocketFraming::request(*body)), "a request is what its body makes");
    const auto reply = readInPieces<tavo::ReplyFrameReader>(bytes, pieceSize);
    require(reply == readInPieces<tavo::ReplyFrameReader>(bytes, bytes.size()), "pieces do not count in a reply");
    require(!reply || tavo::ReplyFrameReader().add(tavo::SocketFraming::reply(*reply)) == reply, "a reply survives");
    return 0;
}
