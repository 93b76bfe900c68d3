#include "system/linux/BatteryLevel.h"

#include "system/linux/SysfsAttribute.h"

namespace tavo {

namespace {

/// A megawatt-hour, in µWh: any number above is garbage, and those below can be summed and scaled in 64 bits.
constexpr std::int64_t beyondAnyBattery = 1'000'000'000'000;

std::optional<std::int64_t> readSane(const std::filesystem::path& file) {
    const auto number = readNumber(file);
    return number && *number >= 0 && *number < beyondAnyBattery ? number : std::nullopt;
}

std::optional<BatteryLevel::Amount> readAmount(const std::filesystem::path& now, const std::filesystem::path& full) {
    const auto nowValue = readSane(now);
    const auto fullValue = readSane(full);
    if (!nowValue || !fullValue || *fullValue == 0) {
        return std::nullopt;
    }
    return BatteryLevel::Amount{.now = *nowValue, .full = *fullValue};
}

std::int64_t roundedPercent(const BatteryLevel::Amount& amount) {
    return (amount.now * 100 + amount.full / 2) / amount.full;
}

/// Absent unless every battery has the amount.
std::optional<std::int64_t> percentOfSum(const std::vector<BatteryLevel>& levels,
                                         std::optional<BatteryLevel::Amount> BatteryLevel::*unit) {
    BatteryLevel::Amount sum;
    for (const auto& level : levels) {
        if (!(level.*unit)) {
            return std::nullopt;
        }
        sum.now += (level.*unit)->now;
        sum.full += (level.*unit)->full;
    }
    return roundedPercent(sum);
}

std::optional<std::int64_t> ownPercent(const BatteryLevel& level) {
    return level.energy ? roundedPercent(*level.energy) : level.charge ? roundedPercent(*level.charge) : level.capacity;
}

} // namespace

BatteryLevel BatteryLevel::read(const std::filesystem::path& supply) {
    return {.energy = readAmount(supply / "energy_now", supply / "energy_full"),
            .charge = readAmount(supply / "charge_now", supply / "charge_full"),
            .capacity = readSane(supply / "capacity")};
}

std::optional<std::int64_t> combinedPercent(const std::vector<BatteryLevel>& levels) {
    std::vector<BatteryLevel> usable;
    std::int64_t sumOfPercents = 0;
    for (const auto& level : levels) {
        if (const auto percent = ownPercent(level)) {
            usable.push_back(level);
            sumOfPercents += *percent;
        }
    }
    if (usable.empty()) {
        return std::nullopt;
    }
    if (const auto percent = percentOfSum(usable, &BatteryLevel::energy)) {
        return percent;
    }
    if (const auto percent = percentOfSum(usable, &BatteryLevel::charge)) {
        return percent;
    }
    const auto count = static_cast<std::int64_t>(usable.size());
    return (sumOfPercents + count / 2) / count;
}

} // namespace tavo
