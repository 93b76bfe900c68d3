#pragma once

#include "TavoPrivilegedHelper/HelperService.h"
#include "helper/ProcessWatching.h"

#include <memory>
#include <string>

namespace tavo {

/// The helper's mach service, NSXPCListener. Serves requests one by one on the main queue.
///
/// Callers are known by the system's word alone: the connection's effective user and process. One that is not served is let
/// in all the same, so that it can be told why; one whose code is not signed as it has to be gets no answer.
class XPCHelperListener {
public:
    /// @param codeSigningRequirement  what a caller's signature has to fulfil, "Code Signing Requirement Language"; none
    ///                                when empty.
    XPCHelperListener(const std::string& machServiceName, const std::string& codeSigningRequirement,
                      std::shared_ptr<const HelperService> service, std::shared_ptr<const ProcessWatching> processes);
    XPCHelperListener(const XPCHelperListener&) = delete;
    XPCHelperListener& operator=(const XPCHelperListener&) = delete;
    ~XPCHelperListener();

    /// Begins to take connections.
    void resume();

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace tavo
