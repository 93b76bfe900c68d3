#pragma once

#include "app/Platform.h"
#include "config/TavoPaths.h"

namespace tavo {

/// The Mac's part of prepareChildEnvironment().
void prepareMacChildEnvironment();

/// The collaborators for a Mac: its command lines, its property lists, its power sources through functions that are
/// looked up at run time. Everything but the helper's client is portable, so that it can be tested without a Mac.
/// @param helperClient  asks the helper.
Platform makeMacPlatform(const std::filesystem::path& programPath, const TavoPaths& paths,
                         std::shared_ptr<PrivilegedHelperClient> helperClient);

} // namespace tavo
