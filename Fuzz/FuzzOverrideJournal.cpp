// Feeds arbitrary bytes to the code that reads the helper's journal: nothing but a DecodingError may come out, and no
// process may be named that cannot exist.

#include "Require.h"
#include "base/JsonCoding.h"
#include "helper/SleepOverrideJournal.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const auto record = tavo::SleepOverrideRecord::fromJson(tavo::parseJson(text));
        for (const auto& recorded : record.overrides) {
            tavo::require(recorded.owner.pid > 0, "an owner is a process");
            tavo::require(std::is_sorted(recorded.scopes.begin(), recorded.scopes.end()), "scopes are in order");
        }
    } catch (const tavo::DecodingError&) {
        return 0;
    }
    return 0;
}
