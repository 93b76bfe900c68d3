#include "Require.h"
#include "base/JsonCoding.h"
#include "base/RuntimeRecords.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using tavo::require;

/// Every value that decodes has one text that decodes to the same value again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const auto snapshot = tavo::RuntimeSnapshot::fromJson(tavo::parseJson(text));
        require(tavo::RuntimeSnapshot::fromJson(tavo::parseJson(tavo::prettyJson(snapshot))) == snapshot,
                "what was written reads back");
    } catch (const tavo::DecodingError& error) {
        require(!error.description().empty(), "an error says something");
    }
    return 0;
}
