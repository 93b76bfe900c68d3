#pragma once

#include "base/DescribedError.h"
#include "base/Json.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace tavo {

/// How much work of a matched program keeps awake, and for how long after the last of it. An option of one run of a
/// program, no part of the configuration.
struct WorkRequirement {
    /// An agent at its prompt stays below 0.4, one at work above 2.
    static constexpr double defaultBusyPercent = 1;

    /// Of one core: several programs of a tree may use more than one.
    static constexpr double highestBusyPercent = 10000;

    /// In the note of the lock of a Tavo that was asked for this.
    static constexpr const char* noteKey = "whileWorking";

    static constexpr std::chrono::seconds defaultGrace = std::chrono::minutes{10};

    /// In percent of one core: a process tree works that has used more than this since the last measurement.
    double busyPercent = defaultBusyPercent;

    /// For how long to stay awake after the last work; zero for not at all.
    std::chrono::seconds grace = defaultGrace;

    bool operator==(const WorkRequirement&) const = default;

    /// The requirement that the values of --busy and --grace make; an empty value stands for the default.
    /// @throws WorkRequirementError
    static WorkRequirement fromOptions(const std::string& busy, const std::string& grace);

    /// The options that make this requirement: "--while-working", then "--busy" and "--grace" where they are not the
    /// default.
    std::vector<std::string> arguments() const;

    /// Reads what to_json() writes. @throws DecodingError naming the key, also for values that fromOptions() refuses.
    static WorkRequirement fromJson(const Json& value, const std::string& path = {});
};

/// A value that makes no sense, as the start of a sentence.
class WorkRequirementError final : public DescribedError {
public:
    using DescribedError::DescribedError;
};

/// Reads the value of --busy. @throws WorkRequirementError
double parseBusyPercent(const std::string& text);

/// Reads the value of --grace. @throws WorkRequirementError
std::chrono::seconds parseGrace(const std::string& text);

/// As a user writes it: "1", "0.5".
std::string busyPercentText(double percent);

/// The keys "busyPercent" and "graceSeconds".
void to_json(Json& json, const WorkRequirement& requirement);

} // namespace tavo
