#include "TavoPrivilegedHelper/macos/SigningRequirement.h"

#include "base/DescribedError.h"
#import "helper/macos/FoundationText.h"

#include <Security/Security.h>
#include <fmt/format.h>

namespace tavo {

void requireWellFormed(const std::string& codeSigningRequirement) {
    @autoreleasepool {
        SecRequirementRef parsed = nullptr;
        NSString* const text = stringOf(codeSigningRequirement);
        const OSStatus status = text == nil ? errSecParam
                                            : SecRequirementCreateWithString(reinterpret_cast<CFStringRef>(text),
                                                                             kSecCSDefaultFlags, &parsed);
        if (status != errSecSuccess) {
            throw DescribedError(
                fmt::format("the code signing requirement that this helper was built with is malformed "
                            "(error {}), so it serves nobody; build tavo again with another one: {}",
                            status, codeSigningRequirement));
        }
        CFRelease(parsed);
    }
}

} // namespace tavo
