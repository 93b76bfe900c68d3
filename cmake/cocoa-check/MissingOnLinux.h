// Declares for scripts/check-cocoa what the macOS code uses and GNUstep's headers lack. Nothing is ever compiled
// against it.
#pragma once

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>
#include <spawn.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/time.h>
#include <sys/types.h>

// GNUstep has the class without what an exporting side needs: the first is misspelt there, the others are missing.
@interface NSXPCConnection (MissingOnLinux)
+ (NSXPCConnection*)currentConnection;
- (void)setExportedInterface:(NSXPCInterface*)interface;
- (void)setExportedObject:(id)object;
- (void)setCodeSigningRequirement:(NSString*)requirement;
@end

// AppKit of macOS 10.10 and later, by Apple's documentation of these classes.
@interface NSAppleEventManager (MissingOnLinux)
+ (NSAppleEventManager*)sharedAppleEventManager;
- (void)setEventHandler:(id)handler
            andSelector:(SEL)selector
          forEventClass:(uint32_t)eventClass
             andEventID:(uint32_t)eventID;
@end
enum : uint32_t { kCoreEventClass = 'aevt', kAEReopenApplication = 'rapp' };

@interface NSApplication (MissingOnLinux)
- (BOOL)setActivationPolicy:(NSInteger)policy;
- (NSAppearance*)effectiveAppearance;
@end

@interface NSImage (MissingOnLinux)
+ (NSImage*)imageWithSystemSymbolName:(NSString*)name accessibilityDescription:(NSString*)description;
@end
enum : NSUInteger { NSCompositingOperationSourceOver = 2 };

enum : NSInteger { NSWindowTitleVisible = 0, NSVisualEffectMaterialUnderWindowBackground = 21 };
@interface NSWindow (MissingOnLinux)
- (void)setStyleMask:(NSUInteger)mask;
- (void)setTitleVisibility:(NSInteger)visibility;
- (void)setTitlebarAppearsTransparent:(BOOL)isTransparent;
- (void)setTitlebarSeparatorStyle:(NSInteger)style;
@end
@interface NSView (MissingOnLinux)
- (void)setWantsLayer:(BOOL)wantsLayer;
- (void)setAccessibilityLabel:(NSString*)label;
@end

extern "C" {

// <dispatch/dispatch.h>: libdispatch belongs to macOS.
typedef struct dispatch_queue_s* dispatch_queue_t;
typedef struct dispatch_source_s* dispatch_source_t;
typedef const struct dispatch_source_type_s* dispatch_source_type_t;
typedef uint64_t dispatch_time_t;
typedef void (^dispatch_block_t)(void);
extern const struct dispatch_source_type_s* const DISPATCH_SOURCE_TYPE_PROC;
extern const struct dispatch_source_type_s* const DISPATCH_SOURCE_TYPE_SIGNAL;
extern const struct dispatch_source_type_s* const DISPATCH_SOURCE_TYPE_TIMER;
#define DISPATCH_PROC_EXIT 0x80000000
#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)
dispatch_queue_t dispatch_get_main_queue(void);
dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle, unsigned long mask,
                                         dispatch_queue_t queue);
void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler);
void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval, uint64_t leeway);
void dispatch_source_cancel(dispatch_source_t source);
void dispatch_resume(dispatch_source_t object);
void dispatch_release(dispatch_source_t object);
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);
#define DISPATCH_QUEUE_PRIORITY_DEFAULT 0
dispatch_queue_t dispatch_get_global_queue(intptr_t identifier, uintptr_t flags);
void dispatch_main(void) __attribute__((noreturn));

// <SystemConfiguration/SystemConfiguration.h> with what it takes of CoreFoundation: both belong to macOS.
typedef const void* CFTypeRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __SCDynamicStore* SCDynamicStoreRef;
void CFRelease(CFTypeRef value);
CFStringRef SCDynamicStoreCopyConsoleUser(SCDynamicStoreRef store, uid_t* user, gid_t* group);

// <Security/Security.h> and <os/log.h>: both belong to macOS. The second's function is a macro there.
typedef int32_t OSStatus;
typedef struct __SecRequirement* SecRequirementRef;
enum : OSStatus { errSecSuccess = 0, errSecParam = -50 };
enum : uint32_t { kSecCSDefaultFlags = 0 };
OSStatus SecRequirementCreateWithString(CFStringRef text, uint32_t flags, SecRequirementRef* requirement);
typedef struct os_log_s* os_log_t;
enum : uint8_t { OS_LOG_TYPE_DEFAULT = 0 };
os_log_t os_log_create(const char* subsystem, const char* category);
void os_log_with_type(os_log_t log, uint8_t type, const char* format, ...);

// <sys/sysctl.h>: Linux has no such header any more.
#define CTL_KERN 1
#define KERN_PROC 14
#define KERN_PROC_PID 1
#define SSTOP 4
#define SZOMB 5
struct extern_proc {
    struct timeval p_starttime;
    char p_stat;
};
struct kinfo_proc {
    struct extern_proc kp_proc;
};
int sysctl(int* name, unsigned int nameLength, void* oldValue, size_t* oldLength, void* newValue, size_t newLength);

// <time.h>: an extension of macOS's.
enum : int { CLOCK_UPTIME_RAW = 8 };
uint64_t clock_gettime_nsec_np(int clock);

// <spawn.h>: extensions of macOS's.
#define POSIX_SPAWN_CLOEXEC_DEFAULT 0x4000
int posix_spawn_file_actions_addinherit_np(posix_spawn_file_actions_t* actions, int descriptor);

} // extern "C"
