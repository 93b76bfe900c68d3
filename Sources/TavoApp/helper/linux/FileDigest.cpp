#include "helper/linux/FileDigest.h"

#include "base/AtomicFile.h"

#include <fmt/format.h>
#include <nettle/sha2.h>

#include <array>
#include <cstdint>

namespace tavo {

std::string sha256(std::string_view content) {
    sha256_ctx context;
    sha256_init(&context);
    sha256_update(&context, content.size(), reinterpret_cast<const std::uint8_t*>(content.data()));
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
    sha256_digest(&context, digest.size(), digest.data());
    std::string text;
    for (const auto byte : digest) {
        text += fmt::format("{:02x}", byte);
    }
    return text;
}

std::string sha256OfFile(const std::filesystem::path& file) {
    return sha256(readWholeFile(file));
}

} // namespace tavo
