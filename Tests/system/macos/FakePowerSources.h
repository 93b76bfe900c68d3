#pragma once

#include "system/macos/PowerSourceFunctions.h"

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tavo {

/// Power sources to order, with the C functions that describe them and a count of what was copied and released.
/// One object of it lives in the test program, and one in each stand-in library.
struct FakePowerSources {
    struct Unconvertible {}; ///< a number that does not fit in 32 bits
    using Value = std::variant<std::int32_t, bool, std::string, Unconvertible>;
    using Source = std::map<std::string, Value>;

    bool hasInfo = true;
    std::optional<std::string> providingType;

    /// Absent: no list can be copied. An absent entry: a source without a description.
    std::optional<std::vector<std::optional<Source>>> sources;

    /// Strings that cannot be created.
    bool lacksStrings = false;

    int copied = 0;
    int released = 0;
    int releasedTwice = 0;

    /// The functions of this program or library.
    static PowerSourceFunctions functions();

    /// The sources that they describe.
    static FakePowerSources& current();
};

} // namespace tavo
