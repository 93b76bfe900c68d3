#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace tavo {

/// The cases of an enumeration with the strings under which they persist, in their declared order.
template <typename Enumeration, std::size_t count>
using RawValueTable = std::array<std::pair<Enumeration, std::string_view>, count>;

/// An enumeration that persists specialises this with a `static constexpr` RawValueTable named `table`; printing,
/// parsing and listing all come from that table.
template <typename Enumeration>
struct RawValues;

template <typename Enumeration>
concept HasRawValues = requires {
    RawValues<Enumeration>::table;
};

/// The string under which a case persists.
template <HasRawValues Enumeration>
constexpr std::string_view rawValue(Enumeration value) {
    for (const auto& [candidate, raw] : RawValues<Enumeration>::table) {
        if (candidate == value) {
            return raw;
        }
    }
    return {};
}

/// The case that persists under `raw`, letter for letter; nothing for any other string.
template <HasRawValues Enumeration>
constexpr std::optional<Enumeration> fromRawValue(std::string_view raw) {
    for (const auto& [candidate, candidateRaw] : RawValues<Enumeration>::table) {
        if (candidateRaw == raw) {
            return candidate;
        }
    }
    return std::nullopt;
}

/// Every case in its declared order, which is also the order of pickers.
template <HasRawValues Enumeration>
constexpr auto allCases() {
    constexpr auto& table = RawValues<Enumeration>::table;
    std::array<Enumeration, table.size()> cases{};
    for (std::size_t index = 0; index < table.size(); ++index) {
        cases[index] = table[index].first;
    }
    return cases;
}

} // namespace tavo
