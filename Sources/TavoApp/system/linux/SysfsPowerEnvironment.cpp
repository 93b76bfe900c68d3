#include "system/linux/SysfsPowerEnvironment.h"

#include "system/linux/BatteryLevel.h"
#include "system/linux/SysfsAttribute.h"

#include <algorithm>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace tavo {

namespace {

namespace fs = std::filesystem;

/// The findings of all supplies together.
struct Findings {
    bool hasBattery = false;
    bool isExternalPowerOnline = false;
    bool isBatteryDischarging = false;
    bool isUninterruptibleSupplyDischarging = false;
    std::optional<bool> isCharging;
    std::vector<BatteryLevel> levels;
};

/// Whether a port's power_role ("[source] sink", or the role alone) says that it gives power. Absent without a role.
std::optional<bool> givesPower(const fs::path& roleFile) {
    const auto text = readAttribute(roleFile);
    if (!text) {
        return std::nullopt;
    }
    const auto open = text->find('[');
    const auto close = text->find(']');
    const auto role = open != std::string::npos && close != std::string::npos && open < close
                          ? text->substr(open + 1, close - open - 1)
                          : *text;
    return role == "source";
}

/// The folders of the ports in `folder`: port0, port1 and so on, without their partners and cables (port0-partner).
std::vector<fs::path> portFolders(const fs::path& folder) {
    std::vector<fs::path> ports;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const auto name = entry->path().filename().string();
        if (name.starts_with("port") && name.find('-') == std::string::npos) {
            ports.push_back(entry->path());
        }
    }
    return ports;
}

/// Whether a USB supply is a port that gives power away. The role stands with the supply or its device (a port itself),
/// or with the ports of that device. A device with several ports does not say which of them the supply belongs to: then
/// `online` is believed unless every port gives power.
bool isPowerSourceForOthers(const fs::path& supply) {
    const auto device = supply / "device";
    for (const auto& roleFile : {supply / "power_role", device / "power_role"}) {
        if (const auto gives = givesPower(roleFile)) {
            return *gives;
        }
    }
    for (const auto& folder : {device / "typec", device, supply / "typec"}) {
        bool sawRole = false;
        bool allGive = true;
        for (const auto& port : portFolders(folder)) {
            if (const auto gives = givesPower(port / "power_role")) {
                sawRole = true;
                allGive = allGive && *gives;
            }
        }
        if (sawRole) {
            return allGive;
        }
    }
    return false;
}

void lookAtBattery(const fs::path& supply, Findings& findings) {
    if (readNumber(supply / "present") == 0) {
        return;
    }
    findings.hasBattery = true;
    findings.levels.push_back(BatteryLevel::read(supply));
    const auto status = readAttribute(supply / "status").value_or("");
    if (status == "Charging") {
        findings.isCharging = true;
    } else if (status == "Discharging" || status == "Not charging" || status == "Full") {
        findings.isCharging = findings.isCharging.value_or(false);
        findings.isBatteryDischarging = findings.isBatteryDischarging || status == "Discharging";
    }
}

void lookAtSupply(const fs::path& supply, Findings& findings) {
    const auto type = readAttribute(supply / "type").value_or("");
    if (readAttribute(supply / "scope") == "Device") {
        return;
    }
    // 1 is online with a fixed voltage, 2 with a negotiated one.
    const bool isOnline = readNumber(supply / "online").value_or(0) > 0;
    if (type == "Battery") {
        lookAtBattery(supply, findings);
    } else if (type == "Mains" || type == "Wireless") {
        findings.isExternalPowerOnline = findings.isExternalPowerOnline || isOnline;
    } else if (type.starts_with("USB")) { // older kernels name the kind of charger: USB_DCP, USB_PD
        findings.isExternalPowerOnline =
            findings.isExternalPowerOnline || (isOnline && !isPowerSourceForOthers(supply));
    } else if (type == "UPS") {
        findings.isUninterruptibleSupplyDischarging =
            findings.isUninterruptibleSupplyDischarging || readAttribute(supply / "status") == "Discharging";
    }
}

CurrentPowerSource source(const Findings& findings) {
    if (findings.isExternalPowerOnline) {
        return CurrentPowerSource::ac;
    }
    if (findings.isBatteryDischarging) {
        return CurrentPowerSource::battery;
    }
    return findings.hasBattery || findings.isUninterruptibleSupplyDischarging ? CurrentPowerSource::unknown
                                                                              : CurrentPowerSource::ac;
}

} // namespace

SysfsPowerEnvironment::SysfsPowerEnvironment(fs::path root) : root(std::move(root)) {}

PowerStatus SysfsPowerEnvironment::currentStatus() const {
    Findings findings;
    std::error_code error;
    for (fs::directory_iterator entry(root, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        lookAtSupply(entry->path(), findings);
    }
    PowerStatus status{.source = source(findings),
                       .batteryPercent = combinedPercent(findings.levels),
                       .isCharging = findings.isCharging};
    // No folder is a kernel that knows no supplies, as on a server; a folder that cannot be read says nothing.
    if (error && error != std::errc::no_such_file_or_directory && status.source == CurrentPowerSource::ac &&
        !findings.isExternalPowerOnline) {
        status.source = CurrentPowerSource::unknown;
    }
    return status;
}

} // namespace tavo
