#include "system/linux/SysfsSupplies.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace tavo {
namespace {

using namespace sysfs;

struct Machine {
    std::string name;
    Files files;
    PowerStatus expected;
};

std::ostream& operator<<(std::ostream& stream, const Machine& machine) {
    return stream << machine.name;
}

struct SysfsMachine : testing::TestWithParam<Machine> {};

std::string nameOf(const testing::TestParamInfo<Machine>& machine) {
    return machine.param.name;
}

TEST_P(SysfsMachine, IsUnderstood) {
    EXPECT_EQ(statusOf(GetParam().files), GetParam().expected);
}

const std::vector<Machine> laptops{
    {"charging", together({mains("1"), energyBattery("BAT0", "Charging", "25000000", "50000000")}),
     status(ac, 50, true)},
    {"onBattery", together({mains("0"), energyBattery("BAT0", "Discharging", "33333333", "50000000")}),
     status(battery, 67, false)},
    {"full", together({mains("1"), energyBattery("BAT0", "Full", "50100000", "50000000")}), status(ac, 100, false)},
    {"heldAtAThreshold", together({mains("1"), energyBattery("BAT0", "Not charging", "40000000", "50000000")}),
     status(ac, 80, false)},
    {"dischargesWhilePluggedIn", together({mains("1"), energyBattery("BAT0", "Discharging", "40000000", "50000000")}),
     status(ac, 80, false)},
    {"neitherPluggedInNorDischarging", together({mains("0"), energyBattery("BAT0", "Full", "50000000", "50000000")}),
     status(unknown, 100, false)},
    {"unknownStatus", together({mains("0"), energyBattery("BAT0", "Unknown", "40000000", "50000000")}),
     status(unknown, 80, std::nullopt)},
    {"chargesInMicroampereHours", together({mains("0"), chargeBattery("BAT1", "Discharging", "1499000", "3000000")}),
     status(battery, 50, false)},
    {"capacityAlone",
     together({mains("0"), supply("BAT0", {{"type", "Battery\n"}, {"status", "Discharging\n"}, {"capacity", "37\n"}})}),
     status(battery, 37, false)},
    {"aboveItsStatedCapacity", together({mains("1"), energyBattery("BAT0", "Full", "52000000", "50000000")}),
     status(ac, 104, false)},
    {"emptyBay",
     together({mains("1"), energyBattery("BAT1", "Unknown", "0", "0", {{"present", "0\n"}}),
               energyBattery("BAT0", "Full", "5", "5")}),
     status(ac, 100, false)},
    {"headsetAndMouse",
     together({mains("0"), energyBattery("BAT0", "Discharging", "45", "50"), mouse(), mouse("headset")}),
     status(battery, 90, false)},
};
INSTANTIATE_TEST_SUITE_P(Laptops, SysfsMachine, testing::ValuesIn(laptops), nameOf);

const std::vector<Machine> twoBatteries{
    {"areWeighedByTheirEnergy",
     together({mains("0"), energyBattery("BAT0", "Unknown", "24000000", "24000000"),
               energyBattery("BAT1", "Discharging", "0", "72000000")}),
     status(battery, 25, false)},
    {"oneCharging",
     together({mains("1"), energyBattery("BAT0", "Full", "10", "10"), energyBattery("BAT1", "Charging", "5", "10")}),
     status(ac, 75, true)},
    {"chargingBesideNotCharging",
     together({mains("1"), energyBattery("BAT0", "Charging", "5", "10"), energyBattery("BAT1", "Full", "5", "10")}),
     status(ac, 50, true)},
    {"areWeighedByTheirCharge",
     together({mains("0"), chargeBattery("BAT0", "Discharging", "1", "1"), chargeBattery("BAT1", "Full", "0", "3")}),
     status(battery, 25, false)},
    {"withoutACommonUnitAreAveraged",
     together({mains("0"), energyBattery("BAT0", "Discharging", "90", "100"), chargeBattery("BAT1", "Full", "1", "2")}),
     status(battery, 70, false)},
    {"oneWithoutNumbers",
     together({mains("0"), energyBattery("BAT0", "Discharging", "90", "100"),
               supply("BAT1", {{"type", "Battery\n"}, {"status", "Unknown\n"}})}),
     status(battery, 90, false)},
};
INSTANTIATE_TEST_SUITE_P(TwoBatteries, SysfsMachine, testing::ValuesIn(twoBatteries), nameOf);

const std::vector<Machine> usbMachines{
    {"fixedVoltage", together({usb("1"), energyBattery("BAT0", "Charging", "40", "50")}), status(ac, 80, true)},
    {"negotiatedVoltage", together({usb("2"), energyBattery("BAT0", "Charging", "40", "50")}), status(ac, 80, true)},
    {"nothingPluggedIn", together({usb("0"), discharging}), status(battery, 80, false)},
    {"olderKernelsChargerType", together({supply("usb", {{"type", "USB_DCP\n"}, {"online", "1\n"}}), discharging}),
     status(ac, 80, false)},
    {"sinkPort", together({usb("1", {{"device/typec/port0/power_role", "source [sink]\n"}}), discharging}),
     status(ac, 80, false)},
    {"sourcePortThroughItsDevice",
     together({usb("1", {{"device/typec/port0/power_role", "[source] sink\n"}}), discharging}),
     status(battery, 80, false)},
    {"sourcePortThatIsTheDevice", together({usb("1", {{"device/power_role", "[source] sink\n"}}), discharging}),
     status(battery, 80, false)},
    {"sourcePortBesideTheDevicesFiles", together({usb("1", {{"device/port3/power_role", "[source]\n"}}), discharging}),
     status(battery, 80, false)},
    {"sourceRoleInTheSupplysFolder", together({usb("1", {{"power_role", "source\n"}}), discharging}),
     status(battery, 80, false)},
    {"theNearestRoleCounts",
     together({usb("1", {{"power_role", "[sink]\n"}, {"device/power_role", "[source]\n"}}), discharging}),
     status(ac, 80, false)},
    {"severalPortsOfOneDeviceAllSources",
     together({usb("1", {{"device/typec/port0/power_role", "[source]\n"},
                         {"device/typec/port1/power_role", "[source] sink\n"}}),
               discharging}),
     status(battery, 80, false)},
    {"severalPortsOfOneDeviceOneSink",
     together({usb("1", {{"device/typec/port0/power_role", "[source]\n"},
                         {"device/typec/port1/power_role", "source [sink]\n"}}),
               discharging}),
     status(ac, 80, false)},
    {"thePartnersRoleIsNotThePorts",
     together({usb("1", {{"device/typec/port0-partner/power_role", "[source]\n"}}), discharging}),
     status(ac, 80, false)},
    {"garbageRole", together({usb("1", {{"device/typec/port0/power_role", "]so[urce\n"}}), discharging}),
     status(ac, 80, false)},
    {"phoneLikePortAsSourceBesideAnOfflineCharger",
     together({usb("1", {{"device/typec/port0/power_role", "[source] sink\n"}}), mains("0"), discharging}),
     status(battery, 80, false)},
    {"wirelessCharging",
     together(
         {supply("pad", {{"type", "Wireless\n"}, {"online", "1\n"}}), energyBattery("BAT0", "Charging", "1", "2")}),
     status(ac, 50, true)},
};
INSTANTIATE_TEST_SUITE_P(Usb, SysfsMachine, testing::ValuesIn(usbMachines), nameOf);

Files uninterruptibleSupply(const std::string& status) {
    return supply("ups", {{"type", "UPS\n"}, {"status", status + "\n"}, {"capacity", "70\n"}});
}

const std::vector<Machine> desktops{
    {"withoutAnySupply", {}, status(ac, std::nullopt, std::nullopt)},
    {"withMains", mains("1"), status(ac, std::nullopt, std::nullopt)},
    {"withMainsThatSaysOffline", mains("0"), status(ac, std::nullopt, std::nullopt)},
    {"withAMouse", mouse(), status(ac, std::nullopt, std::nullopt)},
    {"withADrawingTabletsAdapter",
     together({supply("wacom_ac_0", {{"type", "Mains\n"}, {"scope", "Device\n"}, {"online", "1\n"}}), discharging}),
     status(battery, 80, false)},
    {"onItsUninterruptibleSupply", uninterruptibleSupply("Discharging"), status(unknown, std::nullopt, std::nullopt)},
    {"withAnIdleUninterruptibleSupply", uninterruptibleSupply("Full"), status(ac, std::nullopt, std::nullopt)},
    {"pluggedInWithADischargingUninterruptibleSupply", together({mains("1"), uninterruptibleSupply("Discharging")}),
     status(ac, std::nullopt, std::nullopt)},
};
INSTANTIATE_TEST_SUITE_P(Desktops, SysfsMachine, testing::ValuesIn(desktops), nameOf);

const std::vector<Machine> garbage{
    {"emptyNow", batteryWith("energy_now", ""), status(battery, 77, false)},
    {"blankNow", batteryWith("energy_now", " \n"), status(battery, 77, false)},
    {"wordsForNow", batteryWith("energy_now", "plenty\n"), status(battery, 77, false)},
    {"fractionForNow", batteryWith("energy_now", "40.5\n"), status(battery, 77, false)},
    {"negativeNow", batteryWith("energy_now", "-40\n"), status(battery, 77, false)},
    {"twoNumbersForNow", batteryWith("energy_now", "40 50\n"), status(battery, 77, false)},
    {"overflowingNow", batteryWith("energy_now", "99999999999999999999999\n"), status(battery, 77, false)},
    {"nowBeyondAnyBattery", batteryWith("energy_now", "9223372036854775807\n"), status(battery, 77, false)},
    {"fullAtNothing", batteryWith("energy_full", "0\n"), status(battery, 77, false)},
    {"hugeNow", batteryWith("energy_now", std::string(1 << 20, '4')), status(battery, 77, false)},
    {"hugeStatus", batteryWith("status", std::string(1 << 20, 'D')), status(unknown, 80, std::nullopt)},
    {"emptyStatus", batteryWith("status", ""), status(unknown, 80, std::nullopt)},
    {"strangeStatus", batteryWith("status", "\xFF\xFE"), status(unknown, 80, std::nullopt)},
    {"strangePresence", batteryWith("present", "maybe"), status(battery, 80, false)},
    {"strangeType", batteryWith("type", "Fuel cell"), status(ac, std::nullopt, std::nullopt)},
    {"noType", together({mains("0"), supply("BAT0", {{"status", "Discharging\n"}})}),
     status(ac, std::nullopt, std::nullopt)},
    {"strangeOnline", together({mains("yes"), discharging}), status(battery, 80, false)},
    {"negativeOnline", together({mains("-1"), discharging}), status(battery, 80, false)},
    {"strayFile", together({Files{{"README", "Battery"}}, discharging}), status(battery, 80, false)},
    {"nothingUsable",
     supply("BAT0", {{"type", "Battery\n"}, {"capacity", "-1\n"}, {"energy_now", "3\n"}, {"charge_full", "3\n"}}),
     status(unknown, std::nullopt, std::nullopt)},
};
INSTANTIATE_TEST_SUITE_P(Garbage, SysfsMachine, testing::ValuesIn(garbage), nameOf);

} // namespace
} // namespace tavo
