#pragma once

#include <cstdint>
#include <optional>

namespace tavo {

/// Any object of CoreFoundation (CFTypeRef and its kin); never looked into.
struct CoreFoundationObject;
using CoreFoundationRef = const CoreFoundationObject*;

/// The C functions through which macOS tells about its power sources, by their interfaces in IOKit/ps/IOPowerSources.h
/// and CoreFoundation. A function with "Copy" or "Create" in its name gives an object that the caller releases.
struct PowerSourceFunctions {
    /// CFIndex, CFTypeID, CFStringEncoding, CFNumberType and Boolean, at their widths in the C interface.
    using Index = long;
    using TypeID = unsigned long;
    using StringEncoding = std::uint32_t;
    using NumberType = long;
    using Boolean = unsigned char;

    static constexpr StringEncoding utf8 = 0x08000100; ///< kCFStringEncodingUTF8
    static constexpr NumberType signed32Bit = 3;       ///< kCFNumberSInt32Type

    CoreFoundationRef (*copyPowerSourcesInfo)();
    CoreFoundationRef (*getProvidingPowerSourceType)(CoreFoundationRef info);
    CoreFoundationRef (*copyPowerSourcesList)(CoreFoundationRef info);
    CoreFoundationRef (*getPowerSourceDescription)(CoreFoundationRef info, CoreFoundationRef source);

    CoreFoundationRef (*createString)(CoreFoundationRef allocator, const char* text, StringEncoding encoding);
    Boolean (*equal)(CoreFoundationRef left, CoreFoundationRef right);
    Index (*arrayGetCount)(CoreFoundationRef array);
    CoreFoundationRef (*arrayGetValueAtIndex)(CoreFoundationRef array, Index index);
    CoreFoundationRef (*dictionaryGetValue)(CoreFoundationRef dictionary, CoreFoundationRef key);
    TypeID (*getTypeID)(CoreFoundationRef object);
    TypeID (*booleanGetTypeID)();
    Boolean (*booleanGetValue)(CoreFoundationRef boolean);
    TypeID (*numberGetTypeID)();
    Boolean (*numberGetValue)(CoreFoundationRef number, NumberType type, void* value);
    void (*release)(CoreFoundationRef object);

    /// Where macOS has them. The symbols of CoreFoundation, which IOKit depends on, are found through the same handle.
    static constexpr const char* libraryPath = "/System/Library/Frameworks/IOKit.framework/IOKit";

    /// Loads the library, which stays loaded, and looks every function up. Gives nothing when the library or one of the
    /// functions is missing.
    static std::optional<PowerSourceFunctions> load(const char* path = libraryPath);
};

} // namespace tavo
