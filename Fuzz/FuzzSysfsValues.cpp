#include "Pieces.h"
#include "Require.h"
#include "Support/TemporaryDirectory.h"
#include "system/linux/SysfsAttribute.h"
#include "system/linux/SysfsPowerEnvironment.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {
namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 13> attributes{"type",
                                                 "scope",
                                                 "present",
                                                 "status",
                                                 "online",
                                                 "capacity",
                                                 "energy_now",
                                                 "energy_full",
                                                 "charge_now",
                                                 "charge_full",
                                                 "power_role",
                                                 "device/power_role",
                                                 "device/typec/port0/power_role"};

/// The attributes of one supply, by their names.
using Supply = std::map<std::string, std::string>;

/// Another reading of the same files, from their texts alone.
class Expectation {
public:
    explicit Expectation(const std::vector<Supply>& supplies) {
        for (const auto& supply : supplies) {
            if (!supply.empty() && text(supply, "scope") != "Device") {
                add(supply);
            }
        }
    }

    CurrentPowerSource source() const {
        if (isOnline) {
            return CurrentPowerSource::ac;
        }
        if (discharges) {
            return CurrentPowerSource::battery;
        }
        return batteries.empty() && !supplyIsEmptied ? CurrentPowerSource::ac : CurrentPowerSource::unknown;
    }

    /// In floating point, so within one of the exact value.
    std::optional<double> percent() const {
        std::vector<Battery> usable;
        for (const auto& battery : batteries) {
            if (battery.percent) {
                usable.push_back(battery);
            }
        }
        if (usable.empty()) {
            return std::nullopt;
        }
        for (const auto unit : {&Battery::energy, &Battery::charge}) {
            double now = 0;
            double full = 0;
            bool haveAll = true;
            for (const auto& battery : usable) {
                haveAll = haveAll && (battery.*unit)[1] > 0;
                now += (battery.*unit)[0];
                full += (battery.*unit)[1];
            }
            if (haveAll) {
                return 100 * now / full;
            }
        }
        double sum = 0;
        for (const auto& battery : usable) {
            sum += *battery.percent;
        }
        return sum / static_cast<double>(usable.size());
    }

    std::optional<bool> isCharging;

    /// The whole text is a number that fits, as the C library reads one.
    static std::optional<std::int64_t> number(const Supply& supply, const char* name) {
        const auto value = text(supply, name);
        const auto digits = value.substr(value.starts_with('-') ? 1 : 0);
        if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
            return std::nullopt;
        }
        errno = 0;
        const auto read = std::strtoll(value.c_str(), nullptr, 10);
        return errno == 0 ? std::optional<std::int64_t>(read) : std::nullopt;
    }

private:
    struct Battery {
        /// Now and full; the latter 0 where one of them is unusable.
        std::array<double, 2> energy{};
        std::array<double, 2> charge{};
        std::optional<double> percent;
    };

    /// Without the white space at its ends.
    static std::string text(const Supply& supply, const char* name) {
        const auto found = supply.find(name);
        const auto whole = found == supply.end() ? std::string() : found->second;
        constexpr auto blanks = " \t\n\v\f\r";
        const auto start = whole.find_first_not_of(blanks);
        return start == std::string::npos ? "" : whole.substr(start, whole.find_last_not_of(blanks) - start + 1);
    }

    static std::array<double, 2> amount(const Supply& supply, const char* now, const char* full) {
        constexpr double most = 1e12;
        const auto nowValue = number(supply, now).value_or(-1);
        const auto fullValue = number(supply, full).value_or(-1);
        const bool isUsable = nowValue >= 0 && fullValue > 0 && double(nowValue) < most && double(fullValue) < most;
        return isUsable ? std::array<double, 2>{double(nowValue), double(fullValue)} : std::array<double, 2>{};
    }

    void add(const Supply& supply) {
        const auto type = text(supply, "type");
        const auto status = text(supply, "status");
        const bool online = number(supply, "online").value_or(0) > 0;
        if (type == "Battery" && number(supply, "present") != 0) {
            addBattery(supply, status);
        } else if (type == "Mains" || type == "Wireless") {
            isOnline |= online;
        } else if (type.substr(0, 3) == "USB") {
            isOnline |= online && !givesPower(supply);
        } else if (type == "UPS") {
            supplyIsEmptied |= status == "Discharging";
        }
    }

    static bool givesPower(const Supply& supply) {
        for (const auto* const name : {"power_role", "device/power_role", "device/typec/port0/power_role"}) {
            auto role = text(supply, name);
            if (role.empty()) {
                continue;
            }
            const auto open = role.find('[');
            const auto close = role.find(']');
            if (open != std::string::npos && close != std::string::npos && open < close) {
                role = role.substr(open + 1, close - open - 1);
            }
            return role == "source";
        }
        return false;
    }

    void addBattery(const Supply& supply, const std::string& status) {
        constexpr double most = 1e12;
        Battery battery{.energy = amount(supply, "energy_now", "energy_full"),
                        .charge = amount(supply, "charge_now", "charge_full")};
        const auto capacity = number(supply, "capacity");
        if (battery.energy[1] > 0) {
            battery.percent = 100 * battery.energy[0] / battery.energy[1];
        } else if (battery.charge[1] > 0) {
            battery.percent = 100 * battery.charge[0] / battery.charge[1];
        } else if (capacity && *capacity >= 0 && double(*capacity) < most) {
            battery.percent = double(*capacity);
        }
        batteries.push_back(battery);
        if (status == "Charging") {
            isCharging = true;
        } else if (status == "Discharging" || status == "Not charging" || status == "Full") {
            isCharging = isCharging.value_or(false);
            discharges |= status == "Discharging";
        }
    }

    std::vector<Battery> batteries;
    bool isOnline = false;
    bool discharges = false;
    bool supplyIsEmptied = false;
};

/// Each piece is one attribute: a digit for its supply, a letter for its name, and its content.
std::vector<Supply> suppliesIn(std::string_view bytes) {
    std::vector<Supply> supplies(3);
    for (const auto piece : pieces(bytes)) {
        if (piece.size() >= 2) {
            const auto supply = static_cast<unsigned char>(piece[0]) % supplies.size();
            const auto name = static_cast<unsigned char>(piece[1]) % attributes.size();
            supplies[supply][attributes.at(name)] = piece.substr(2);
        }
    }
    return supplies;
}

/// Files of the same names and contents.
void write(const std::vector<Supply>& supplies, const fs::path& root) {
    for (std::size_t index = 0; index < supplies.size(); ++index) {
        const auto folder = root / std::to_string(index);
        if (supplies[index].empty()) {
            continue;
        }
        fs::create_directories(folder / "device/typec/port0");
        for (const auto& [name, content] : supplies[index]) {
            std::ofstream(folder / name, std::ios::binary) << content;
        }
    }
}

void check(const std::vector<Supply>& supplies, const fs::path& root) {
    const Expectation expected(supplies);
    const auto status = SysfsPowerEnvironment(root).currentStatus();
    require(status.source == expected.source(), "the source");
    require(status.isCharging == expected.isCharging, "whether it charges");
    const auto percent = expected.percent();
    require(status.batteryPercent.has_value() == percent.has_value(), "whether there is a percentage");
    if (percent) {
        // Half up; the batteries' own percentages are rounded before their mean is taken.
        const auto difference = std::abs(double(*status.batteryPercent) - *percent);
        require(difference <= 1.01 + *percent * 1e-9, "the percentage");
    }
    for (const auto& [name, content] : supplies.front()) {
        require(readNumber(root / "0" / name) == Expectation::number(supplies.front(), name.c_str()), "a number");
    }
}

} // namespace
} // namespace tavo

/// The status of a machine with these files is what their texts say by another reading.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Less than a page, beyond which an attribute is not read.
    constexpr std::size_t maxSize = 4000;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    // White space beyond ASCII is trimmed too, and no attribute has any.
    if (size > maxSize || std::any_of(bytes.begin(), bytes.end(), [](char unit) { return (unit & 0x80) != 0; })) {
        return 0;
    }
    static const tavo::TemporaryDirectory folder;
    const auto root = folder.path() / "supplies";
    std::filesystem::remove_all(root);
    std::filesystem::create_directories(root);
    const auto supplies = tavo::suppliesIn(bytes);
    tavo::write(supplies, root);
    tavo::check(supplies, root);
    return 0;
}
