#include "app/views/macos/NativeWindow.h"

#import <AppKit/AppKit.h>

namespace tavo {

namespace {

/// A sibling behind the content, of the same size. It cannot be a child, since a view is always above its parent.
void addGlass(NSView* content) {
    NSVisualEffectView* glass = [[[NSVisualEffectView alloc] initWithFrame:[content frame]] autorelease];
    [glass setMaterial:NSVisualEffectMaterialUnderWindowBackground];
    [glass setBlendingMode:NSVisualEffectBlendingModeBehindWindow];
    [glass setState:NSVisualEffectStateActive];
    [glass setAutoresizingMask:NSViewWidthSizable | NSViewHeightSizable];
    [[content superview] addSubview:glass positioned:NSWindowBelow relativeTo:content];
}

} // namespace

void prepareNativeWindow(void* view) {
    @autoreleasepool {
        NSView* content = static_cast<NSView*>(view);
        NSWindow* window = [content window];
        [window setStyleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable | NSWindowStyleMaskMiniaturizable];
        [window setTitleVisibility:NSWindowTitleVisible];
        [window setTitlebarAppearsTransparent:NO];
        [window setTitlebarSeparatorStyle:NSTitlebarSeparatorStyleLine];
        [window setOpaque:NO];
        [window setBackgroundColor:[NSColor clearColor]];
        [window setReleasedWhenClosed:NO];
        [window setInitialFirstResponder:nil];
        [content setWantsLayer:YES];
        addGlass(content);
        [window cascadeTopLeftFromPoint:NSMakePoint(0, 0)];
    }
}

void bringNativeWindowToFront(void* view) {
    @autoreleasepool {
        NSWindow* window = [static_cast<NSView*>(view) window];
        NSWindow* key = [[NSApplication sharedApplication] keyWindow];
        if (key != nil && key != window) {
            [key orderOut:nil];
        }
        [[NSApplication sharedApplication] unhide:nil];
        [window makeKeyAndOrderFront:nil];
        [[NSApplication sharedApplication] activateIgnoringOtherApps:YES];
        [window orderFrontRegardless];
    }
}

void bringNativePanelToFront(void* view) {
    @autoreleasepool {
        NSApplication* application = [NSApplication sharedApplication];
        NSWindow* window = [static_cast<NSView*>(view) window];
        [window setLevel:NSPopUpMenuWindowLevel];
        NSWindowCollectionBehavior behaviour = NSWindowCollectionBehaviorMoveToActiveSpace;
        behaviour |= NSWindowCollectionBehaviorTransient;
        behaviour |= NSWindowCollectionBehaviorIgnoresCycle;
        behaviour |= NSWindowCollectionBehaviorFullScreenAuxiliary;
        [window setCollectionBehavior:behaviour];
        [application unhideWithoutActivation];
        // Before the application is activated: the system might otherwise switch to the space of its other windows.
        [window orderFrontRegardless];
        [application activateIgnoringOtherApps:YES];
        [window makeKeyAndOrderFront:nil];
    }
}

} // namespace tavo
