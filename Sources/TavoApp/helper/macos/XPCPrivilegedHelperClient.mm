#include "helper/macos/XPCPrivilegedHelperClient.h"

#include "base/DescribedError.h"
#import "helper/macos/FoundationText.h"
#include "helper/macos/PrivilegedHelperExchange.h"
#import "helper/macos/TavoPrivilegedHelperXPCProtocol.h"

#include <exception>
#include <memory>

namespace tavo {

namespace {

class XPCConnection final : public PrivilegedHelperConnection {
public:
    explicit XPCConnection(const std::string& machServiceName)
        : connection([[NSXPCConnection alloc] initWithMachServiceName:stringOf(machServiceName)
                                                              options:NSXPCConnectionPrivileged]) {
        [connection
            setRemoteObjectInterface:[NSXPCInterface interfaceWithProtocol:@protocol(TavoPrivilegedHelperXPCProtocol)]];
        [connection resume];
    }
    XPCConnection(const XPCConnection&) = delete;
    XPCConnection& operator=(const XPCConnection&) = delete;
    ~XPCConnection() override { [connection release]; }

    bool send(const std::string& body, std::shared_ptr<PrivilegedHelperReplySlot> slot) override {
        id proxy = [connection remoteObjectProxyWithErrorHandler:^(NSError* error) {
          slot->fail(std::make_exception_ptr(DescribedError(textOf([error localizedDescription]))));
        }];
        if (![proxy conformsToProtocol:@protocol(TavoPrivilegedHelperXPCProtocol)]) {
            return false;
        }
        [static_cast<id<TavoPrivilegedHelperXPCProtocol>>(proxy)
                 send:dataOf(body)
            withReply:^(NSData* data, NSString* message) {
              slot->receive({data == nil ? std::nullopt : std::optional(textOf(data)),
                             message == nil ? std::nullopt : std::optional(textOf(message))});
            }];
        return true;
    }

    void invalidate() noexcept override { [connection invalidate]; }

private:
    NSXPCConnection* connection;
};

} // namespace

PrivilegedHelperReply XPCPrivilegedHelperClient::roundTrip(const std::string& body, std::chrono::milliseconds bound) {
    @autoreleasepool {
        XPCConnection connection(machServiceName);
        return exchange(connection, body, bound);
    }
}

} // namespace tavo
