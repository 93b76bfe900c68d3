#include "app/Platform.h"

#include "app/macos/MacPlatform.h"
#include "helper/PrivilegedHelperMessages.h"
#include "helper/macos/XPCPrivilegedHelperClient.h"
#include "system/macos/AppNapPrevention.h"

namespace tavo {

void prepareChildEnvironment() {
    prepareMacChildEnvironment();
}

Platform makePlatform(const std::filesystem::path& programPath, const TavoPaths& paths) {
    auto platform = makeMacPlatform(
        programPath, paths,
        std::make_shared<XPCPrivilegedHelperClient>(std::string(PrivilegedHelperConstants::machServiceName)));
    platform.processActivity = std::make_shared<AppNapPrevention>();
    return platform;
}

} // namespace tavo
