#pragma once

#include "system/PowerEnvironmentProviding.h"
#include "system/macos/PowerSourceFunctions.h"

#include <memory>
#include <optional>
#include <utility>

namespace tavo {

/// The C functions that notify of changes of a Mac's power sources, by their interfaces in
/// IOKit/ps/IOPowerSources.h, CoreFoundation/CFRunLoop.h and CoreFoundation/CFString.h.
struct PowerNotificationFunctions {
    using Callback = void (*)(void* context);

    /// The caller releases what this gives; nothing is given when it fails.
    CoreFoundationRef (*createRunLoopSource)(Callback callback, void* context);
    CoreFoundationRef (*getCurrentRunLoop)();
    void (*addSource)(CoreFoundationRef runLoop, CoreFoundationRef source, CoreFoundationRef mode);
    void (*run)();
    void (*stop)(CoreFoundationRef runLoop);
    CoreFoundationRef (*createString)(CoreFoundationRef allocator, const char* text,
                                      PowerSourceFunctions::StringEncoding encoding);
    void (*release)(CoreFoundationRef object);

    /// See PowerSourceFunctions::load().
    static std::optional<PowerNotificationFunctions> load(const char* path = PowerSourceFunctions::libraryPath);
};

/// Hears of changes of the power supply from IOKit: the source, the charge, and whether it charges.
class PowerSourceNotifications final : public PowerChangeNotifying {
public:
    explicit PowerSourceNotifications(
        std::optional<PowerNotificationFunctions> functions = PowerNotificationFunctions::load())
        : functions(functions) {}

    /// The observer is called on a thread of the watch's own, which sleeps in a run loop.
    /// @throws std::system_error when there is no IOKit, or when it gives no notifications.
    std::unique_ptr<PowerChangeWatch> watch(std::function<void()> observer) override;

private:
    std::optional<PowerNotificationFunctions> functions;
};

} // namespace tavo
