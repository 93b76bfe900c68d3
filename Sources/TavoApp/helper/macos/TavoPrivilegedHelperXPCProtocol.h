#import <Foundation/Foundation.h>

/// The interface of the helper's mach service. Apart from the C++ headers, which know nothing of Objective-C.
@protocol TavoPrivilegedHelperXPCProtocol

/// @param command  an encoded PrivilegedHelperCommand.
/// @param reply    is called once, with an encoded PrivilegedHelperResponse, or with a message for the user.
- (void)send:(NSData*)command withReply:(void (^)(NSData* data, NSString* message))reply;

@end
