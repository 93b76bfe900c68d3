#include "TavoPrivilegedHelper/macos/XPCHelperListener.h"

#import "helper/macos/FoundationText.h"
#import "helper/macos/TavoPrivilegedHelperXPCProtocol.h"

#include <dispatch/dispatch.h>

#include <optional>

using tavo::HelperCaller;
using tavo::HelperService;
using tavo::PrivilegedHelperReply;
using tavo::ProcessWatching;

/// One connection's end here.
@interface TavoHelperCall : NSObject <TavoPrivilegedHelperXPCProtocol> {
    std::shared_ptr<const HelperService> service;
    std::shared_ptr<const ProcessWatching> processes;
    uid_t user;
    pid_t process;
}
- (id)initWithService:(std::shared_ptr<const HelperService>)theService
            processes:(std::shared_ptr<const ProcessWatching>)theProcesses
                 user:(uid_t)theUser
              process:(pid_t)theProcess;
@end

@implementation TavoHelperCall

- (id)initWithService:(std::shared_ptr<const HelperService>)theService
            processes:(std::shared_ptr<const ProcessWatching>)theProcesses
                 user:(uid_t)theUser
              process:(pid_t)theProcess {
    self = [super init];
    if (self != nil) {
        service = theService;
        processes = theProcesses;
        user = theUser;
        process = theProcess;
    }
    return self;
}

- (void)send:(NSData*)command withReply:(void (^)(NSData*, NSString*))reply {
    __block PrivilegedHelperReply answer;
    // Each connection has a queue of its own; what they all change is changed on one.
    dispatch_sync(dispatch_get_main_queue(), ^{
      const auto identity = processes->identify(process);
      answer = identity
                   ? service->serve(HelperCaller{user, *identity}, tavo::textOf(command))
                   : PrivilegedHelperReply{std::nullopt, "the process that asked the privileged helper has ended."};
    });
    reply(answer.data ? tavo::dataOf(*answer.data) : nil, answer.message ? tavo::stringOf(*answer.message) : nil);
}

@end

@interface TavoHelperListenerDelegate : NSObject <NSXPCListenerDelegate> {
    std::shared_ptr<const HelperService> service;
    std::shared_ptr<const ProcessWatching> processes;
    std::string codeSigningRequirement;
}
- (id)initWithService:(std::shared_ptr<const HelperService>)theService
                 processes:(std::shared_ptr<const ProcessWatching>)theProcesses
    codeSigningRequirement:(const std::string&)requirement;
@end

@implementation TavoHelperListenerDelegate

- (id)initWithService:(std::shared_ptr<const HelperService>)theService
                 processes:(std::shared_ptr<const ProcessWatching>)theProcesses
    codeSigningRequirement:(const std::string&)requirement {
    self = [super init];
    if (self != nil) {
        service = theService;
        processes = theProcesses;
        codeSigningRequirement = requirement;
    }
    return self;
}

- (BOOL)listener:(NSXPCListener*)listener shouldAcceptNewConnection:(NSXPCConnection*)connection {
    (void)listener;
    if (!codeSigningRequirement.empty()) {
        [connection setCodeSigningRequirement:tavo::stringOf(codeSigningRequirement)];
    }
    TavoHelperCall* call = [[[TavoHelperCall alloc] initWithService:service
                                                          processes:processes
                                                               user:[connection effectiveUserIdentifier]
                                                            process:[connection processIdentifier]] autorelease];
    [connection setExportedInterface:[NSXPCInterface interfaceWithProtocol:@protocol(TavoPrivilegedHelperXPCProtocol)]];
    [connection setExportedObject:call];
    [connection resume];
    return YES;
}

@end

namespace tavo {

struct XPCHelperListener::Implementation {
    NSXPCListener* listener;
    TavoHelperListenerDelegate* delegate;
};

XPCHelperListener::XPCHelperListener(const std::string& machServiceName, const std::string& codeSigningRequirement,
                                     std::shared_ptr<const HelperService> service,
                                     std::shared_ptr<const ProcessWatching> processes)
    : implementation(std::make_unique<Implementation>()) {
    @autoreleasepool {
        implementation->listener = [[NSXPCListener alloc] initWithMachServiceName:stringOf(machServiceName)];
        implementation->delegate = [[TavoHelperListenerDelegate alloc] initWithService:std::move(service)
                                                                             processes:std::move(processes)
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
