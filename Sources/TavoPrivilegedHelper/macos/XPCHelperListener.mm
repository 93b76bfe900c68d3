#include "TavoPrivilegedHelper/macos/XPCHelperListener.h"

#include "TavoPrivilegedHelper/macos/SigningRequirement.h"
#import "helper/macos/FoundationText.h"
#import "helper/macos/TavoPrivilegedHelperXPCProtocol.h"

#include <dispatch/dispatch.h>

using tavo::HelperAdmission;
using tavo::HelperVisit;
using tavo::PrivilegedHelperReply;

namespace {

using Reply = void (^)(NSData*, NSString*);

void answer(Reply reply, const PrivilegedHelperReply& answer) {
    reply(answer.data ? tavo::dataOf(*answer.data) : nil, answer.message ? tavo::stringOf(*answer.message) : nil);
}

/// Ends a connection over which no command has come in time, or whose caller has its answer and does not leave.
void endAfterDeadline(NSXPCConnection* connection, const std::shared_ptr<HelperVisit>& theVisit) {
    const auto visit = theVisit; // a block copies what it uses, and of a reference the reference
    const auto deadline = std::chrono::nanoseconds(HelperVisit::deadline).count();
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, deadline),
                   dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0), ^{
                     if (visit->retire()) {
                         [connection invalidate];
                     }
                   });
}

} // namespace

/// One connection's end here.
@interface TavoHelperCall : NSObject <TavoPrivilegedHelperXPCProtocol> {
    std::shared_ptr<HelperVisit> visit;
}
- (id)initWithVisit:(std::shared_ptr<HelperVisit>)theVisit;
@end

@implementation TavoHelperCall

- (id)initWithVisit:(std::shared_ptr<HelperVisit>)theVisit {
    self = [super init];
    if (self != nil) {
        visit = theVisit;
    }
    return self;
}

- (void)send:(NSData*)command withReply:(void (^)(NSData*, NSString*))reply {
    const auto theVisit = visit;
    if (const auto refusal = theVisit->receive([command length])) {
        answer(reply, *refusal);
        return;
    }
    NSXPCConnection* const connection = [NSXPCConnection currentConnection];
    // All changes for callers are made on one queue. Nobody waits for that here: a connection that waited would not be
    // told that its caller has hung up.
    dispatch_async(dispatch_get_main_queue(), ^{
      @autoreleasepool {
          answer(reply, theVisit->serve(tavo::bytesOf(command)));
          endAfterDeadline(connection, theVisit);
      }
    });
}

@end

@interface TavoHelperListenerDelegate : NSObject <NSXPCListenerDelegate> {
    std::shared_ptr<HelperAdmission> admission;
    std::string codeSigningRequirement;
}
- (id)initWithAdmission:(std::shared_ptr<HelperAdmission>)theAdmission
    codeSigningRequirement:(const std::string&)requirement;
@end

@implementation TavoHelperListenerDelegate

- (id)initWithAdmission:(std::shared_ptr<HelperAdmission>)theAdmission
    codeSigningRequirement:(const std::string&)requirement {
    self = [super init];
    if (self != nil) {
        admission = theAdmission;
        codeSigningRequirement = requirement;
    }
    return self;
}

- (BOOL)listener:(NSXPCListener*)listener shouldAcceptNewConnection:(NSXPCConnection*)connection {
    (void)listener;
    const auto visit = admission->admit([connection effectiveUserIdentifier], [connection processIdentifier]);
    if (!visit) {
        return NO;
    }
    if (!codeSigningRequirement.empty()) {
        [connection setCodeSigningRequirement:tavo::stringOf(codeSigningRequirement)];
    }
    TavoHelperCall* call = [[[TavoHelperCall alloc] initWithVisit:visit] autorelease];
    [connection setExportedInterface:[NSXPCInterface interfaceWithProtocol:@protocol(TavoPrivilegedHelperXPCProtocol)]];
    [connection setExportedObject:call];
    [connection setInvalidationHandler:^{
      visit->end();
    }];
    [connection setInterruptionHandler:^{
      visit->end();
    }];
    [connection resume];
    endAfterDeadline(connection, visit);
    return YES;
}

@end

namespace tavo {

struct XPCHelperListener::Implementation {
    NSXPCListener* listener;
    TavoHelperListenerDelegate* delegate;
};

XPCHelperListener::XPCHelperListener(const std::string& machServiceName, const std::string& codeSigningRequirement,
                                     std::shared_ptr<HelperAdmission> admission)
    : implementation(std::make_unique<Implementation>()) {
    if (!codeSigningRequirement.empty()) {
        requireWellFormed(codeSigningRequirement);
    }
    @autoreleasepool {
        implementation->listener = [[NSXPCListener alloc] initWithMachServiceName:stringOf(machServiceName)];
        implementation->delegate = [[TavoHelperListenerDelegate alloc] initWithAdmission:std::move(admission)
                                                                  codeSigningRequirement:codeSigningRequirement];
        [implementation->listener setDelegate:implementation->delegate];
    }
}

XPCHelperListener::~XPCHelperListener() {
    [implementation->listener invalidate];
    [implementation->listener release];
    [implementation->delegate release];
}

void XPCHelperListener::resume() {
    [implementation->listener resume];
}

} // namespace tavo
