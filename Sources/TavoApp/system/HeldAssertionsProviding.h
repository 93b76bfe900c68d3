#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// One thing that holds off sleep, as the system itself lists it.
struct HeldAssertion {
    /// The name by which the holder introduced itself.
    std::string who;

    /// The kinds of sleep held off, in the system's own words: "sleep:idle" on Linux, an assertion's type on macOS.
    std::string what;
    std::int32_t pid = 0;

    /// The holder's user; absent where the system does not say.
    std::optional<std::uint32_t> uid = std::nullopt;

    bool operator==(const HeldAssertion&) const = default;
};

/// The system's own list of everything that holds off sleep, whoever holds it.
struct HeldAssertionsProviding {
    virtual ~HeldAssertionsProviding() = default;

    /// Whether HeldAssertion::what is in the words of a wake plan ("sleep:idle"), so that the two can be compared word
    /// by word. The assertion types of a Mac are not, and cover what they say under many names.
    virtual bool usesPlanWords() const = 0;

    /// Only what blocks sleep; what merely delays it is left out.
    /// @throws DescribedError or std::system_error when the system cannot be asked.
    virtual std::vector<HeldAssertion> heldAssertions() = 0;
};

} // namespace tavo
