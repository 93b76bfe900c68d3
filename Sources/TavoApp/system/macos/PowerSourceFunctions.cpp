#include "system/macos/PowerSourceFunctions.h"

namespace tavo {

std::optional<PowerSourceFunctions> PowerSourceFunctions::load(const char* path) {
    const LoadedFunctions library(path);
    const auto find = [&library](auto*& function, const char* name) { return library.find(function, name); };
    PowerSourceFunctions functions{};
    const bool isComplete =
        find(functions.copyPowerSourcesInfo, "IOPSCopyPowerSourcesInfo") &&
        find(functions.getProvidingPowerSourceType, "IOPSGetProvidingPowerSourceType") &&
        find(functions.copyPowerSourcesList, "IOPSCopyPowerSourcesList") &&
        find(functions.getPowerSourceDescription, "IOPSGetPowerSourceDescription") &&
        find(functions.createString, "CFStringCreateWithCString") && find(functions.equal, "CFEqual") &&
        find(functions.arrayGetCount, "CFArrayGetCount") &&
        find(functions.arrayGetValueAtIndex, "CFArrayGetValueAtIndex") &&
        find(functions.dictionaryGetValue, "CFDictionaryGetValue") && find(functions.getTypeID, "CFGetTypeID") &&
        find(functions.booleanGetTypeID, "CFBooleanGetTypeID") &&
        find(functions.booleanGetValue, "CFBooleanGetValue") && find(functions.numberGetTypeID, "CFNumberGetTypeID") &&
        find(functions.numberGetValue, "CFNumberGetValue") && find(functions.release, "CFRelease");
    return isComplete ? std::optional(functions) : std::nullopt;
}

} // namespace tavo
