#include "app/views/macos/NativeApplication.h"

#import <AppKit/AppKit.h>

#include <utility>

namespace {

/// NSDistributedNotificationCenter's name for a change of the appearance.
NSString* const appearanceChanged = @"AppleInterfaceThemeChangedNotification";

} // namespace

/// Passes on the system's notifications. Lives as long as the application.
@interface TavoApplicationObserver : NSObject {
    std::function<void()> onNotification;
}
- (id)initWithHandler:(std::function<void()>)handler;
- (void)handleEvent:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply;
- (void)handleNotification:(NSNotification*)notification;
@end

@implementation TavoApplicationObserver

- (id)initWithHandler:(std::function<void()>)handler {
    self = [super init];
    if (self != nil) {
        onNotification = std::move(handler);
    }
    return self;
}

- (void)handleEvent:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply {
    (void)event;
    (void)reply;
    onNotification();
}

- (void)handleNotification:(NSNotification*)notification {
    (void)notification;
    onNotification();
}

@end

namespace tavo {

void useRegularActivationPolicy() {
    [[NSApplication sharedApplication] setActivationPolicy:NSApplicationActivationPolicyRegular];
}

void whenLaunched(std::function<void()> work) {
    @autoreleasepool {
        if ([[NSRunningApplication currentApplication] isFinishedLaunching]) {
            work();
            return;
        }
        TavoApplicationObserver* observer = [[TavoApplicationObserver alloc] initWithHandler:std::move(work)];
        [[NSNotificationCenter defaultCenter] addObserver:observer
                                                 selector:@selector(handleNotification:)
                                                     name:NSApplicationDidFinishLaunchingNotification
                                                   object:nil];
    }
}

void hideApplication() {
    [[NSApplication sharedApplication] hide:nil];
}

void observeReopen(std::function<void()> onReopen) {
    TavoApplicationObserver* observer = [[TavoApplicationObserver alloc] initWithHandler:std::move(onReopen)];
    [[NSAppleEventManager sharedAppleEventManager] setEventHandler:observer
                                                       andSelector:@selector(handleEvent:withReplyEvent:)
                                                     forEventClass:kCoreEventClass
                                                        andEventID:kAEReopenApplication];
}

void observeAppearance(std::function<void()> onChange) {
    TavoApplicationObserver* observer = [[TavoApplicationObserver alloc] initWithHandler:std::move(onChange)];
    [[NSDistributedNotificationCenter defaultCenter] addObserver:observer
                                                        selector:@selector(handleNotification:)
                                                            name:appearanceChanged
                                                          object:nil];
}

void labelNativeStatusItem(const std::string& label) {
    @autoreleasepool {
        // The item belongs to Qt, but its window is among the application's own.
        for (NSWindow* window in [[NSApplication sharedApplication] windows]) {
            if ([NSStringFromClass([window class]) isEqualToString:@"NSStatusBarWindow"]) {
                [[window contentView] setAccessibilityLabel:[NSString stringWithUTF8String:label.c_str()]];
            }
        }
    }
}

bool isAppearanceDark() {
    @autoreleasepool {
        NSAppearance* appearance = [[NSApplication sharedApplication] effectiveAppearance];
        NSString* match =
            [appearance bestMatchFromAppearancesWithNames:[NSArray arrayWithObjects:NSAppearanceNameAqua,
                                                                                    NSAppearanceNameDarkAqua, nil]];
        return [match isEqualToString:NSAppearanceNameDarkAqua];
    }
}

} // namespace tavo
