#include "system/macos/FakePowerSources.h"
#include "system/macos/FakeRunLoop.h"

#include <fstream>
#include <string>

// The names and the C interface of IOKit and CoreFoundation, as the library that is loaded in their place has them.
// NOLINTBEGIN(readability-identifier-naming)

using tavo::CoreFoundationRef;
using Functions = tavo::PowerSourceFunctions;

namespace {

const Functions& fake() {
    static const Functions functions = tavo::FakePowerSources::functions();
    return functions;
}

#ifdef TAVO_POWER_FILE
/// For a test that changes the power while a program runs: a file with "ac" or "battery" and a percentage.
void readPower() {
    std::ifstream file(TAVO_POWER_FILE);
    std::string source;
    std::int32_t percent = 0;
    file >> source >> percent;
    auto& sources = tavo::FakePowerSources::current();
    sources.providingType = source == "ac" ? "AC Power" : "Battery Power";
    sources.sources = {tavo::FakePowerSources::Source{
        {"Current Capacity", percent}, {"Max Capacity", 100}, {"Is Charging", source == "ac"}}};
}
#else
void readPower() {}
#endif

} // namespace

extern "C" {

/// The power sources of this library, for the test that loads it.
tavo::FakePowerSources* standInPowerSources() {
    return &tavo::FakePowerSources::current();
}

CoreFoundationRef IOPSCopyPowerSourcesInfo() {
    readPower();
    return fake().copyPowerSourcesInfo();
}

CoreFoundationRef IOPSGetProvidingPowerSourceType(CoreFoundationRef info) {
    return fake().getProvidingPowerSourceType(info);
}

CoreFoundationRef IOPSCopyPowerSourcesList(CoreFoundationRef info) {
    return fake().copyPowerSourcesList(info);
}

CoreFoundationRef IOPSGetPowerSourceDescription(CoreFoundationRef info, CoreFoundationRef source) {
    return fake().getPowerSourceDescription(info, source);
}

CoreFoundationRef CFStringCreateWithCString(CoreFoundationRef allocator, const char* text,
                                            Functions::StringEncoding encoding) {
    return fake().createString(allocator, text, encoding);
}

Functions::Boolean CFEqual(CoreFoundationRef left, CoreFoundationRef right) {
    return fake().equal(left, right);
}

Functions::Index CFArrayGetCount(CoreFoundationRef array) {
    return fake().arrayGetCount(array);
}

CoreFoundationRef CFArrayGetValueAtIndex(CoreFoundationRef array, Functions::Index index) {
    return fake().arrayGetValueAtIndex(array, index);
}

CoreFoundationRef CFDictionaryGetValue(CoreFoundationRef dictionary, CoreFoundationRef key) {
    return fake().dictionaryGetValue(dictionary, key);
}

Functions::TypeID CFGetTypeID(CoreFoundationRef object) {
    return fake().getTypeID(object);
}

Functions::TypeID CFBooleanGetTypeID() {
    return fake().booleanGetTypeID();
}

Functions::Boolean CFBooleanGetValue(CoreFoundationRef boolean) {
    return fake().booleanGetValue(boolean);
}

Functions::TypeID CFNumberGetTypeID() {
    return fake().numberGetTypeID();
}

Functions::Boolean CFNumberGetValue(CoreFoundationRef number, Functions::NumberType type, void* value) {
    return fake().numberGetValue(number, type, value);
}

void CFRelease(CoreFoundationRef object) {
    fake().release(object);
}

/// The run loop of this library, for the test that loads it.
tavo::FakeRunLoop* standInRunLoop() {
    return &tavo::FakeRunLoop::current();
}

CoreFoundationRef IOPSNotificationCreateRunLoopSource(tavo::PowerNotificationFunctions::Callback callback,
                                                      void* context) {
    return tavo::FakeRunLoop::functions().createRunLoopSource(callback, context);
}

CoreFoundationRef CFRunLoopGetCurrent() {
    return tavo::FakeRunLoop::functions().getCurrentRunLoop();
}

void CFRunLoopAddSource(CoreFoundationRef runLoop, CoreFoundationRef source, CoreFoundationRef mode) {
    tavo::FakeRunLoop::functions().addSource(runLoop, source, mode);
}

void CFRunLoopRun() {
    tavo::FakeRunLoop::functions().run();
}

void CFRunLoopStop(CoreFoundationRef runLoop) {
    tavo::FakeRunLoop::functions().stop(runLoop);
}

} // extern "C"

// NOLINTEND(readability-identifier-naming)
