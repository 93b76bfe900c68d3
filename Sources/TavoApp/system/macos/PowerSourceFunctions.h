#pragma once

#include <dlfcn.h>

#include <cstdint>
#include <optional>
#include <type_traits>

namespace tavo {

/// A library that is loaded at run time, dlopen(3), and stays loaded.
class LoadedFunctions {
public:
    explicit LoadedFunctions(const char* path) : library(dlopen(path, RTLD_LAZY | RTLD_LOCAL)) {}

    /// Looks a function up. False when the library or the function is missing.
    template <typename Function>
    bool find(Function*& function, const char* name) const {
        function = library == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(library, name));
        return function != nullptr;
    }

private:
    void* library;
};

/// Any object of CoreFoundation (CFTypeRef and the like), opaque here.
struct CoreFoundationObject;
using CoreFoundationRef = const CoreFoundationObject*;

/// The C functions that describe the power sources of a Mac, by their interfaces in IOKit/ps/IOPowerSources.h
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
