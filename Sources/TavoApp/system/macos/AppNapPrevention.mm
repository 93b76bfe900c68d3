#include "system/macos/AppNapPrevention.h"

#import <Foundation/Foundation.h>

namespace tavo {

namespace {

class Activity final : public ProcessActivity {
public:
    explicit Activity(const std::string& reason) {
        @autoreleasepool {
            token = [[[NSProcessInfo processInfo]
                beginActivityWithOptions:NSActivityUserInitiatedAllowingIdleSystemSleep
                                  reason:[NSString stringWithUTF8String:reason.c_str()]] retain];
        }
    }
    Activity(const Activity&) = delete;
    Activity& operator=(const Activity&) = delete;
    ~Activity() override {
        @autoreleasepool {
            [[NSProcessInfo processInfo] endActivity:token];
            [token release];
        }
    }

private:
    id token = nil;
};

} // namespace

std::unique_ptr<ProcessActivity> AppNapPrevention::begin(const std::string& reason) {
    return std::make_unique<Activity>(reason);
}

} // namespace tavo
