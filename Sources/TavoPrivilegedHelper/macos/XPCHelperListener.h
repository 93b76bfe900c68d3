#pragma once

#include "TavoPrivilegedHelper/HelperAdmission.h"

#include <memory>
#include <string>

namespace tavo {

/// The helper's mach service, NSXPCListener. Serves requests one by one on the main queue, which sees nothing of a
/// caller that is not served.
///
/// Callers are known by the system's word alone, asked when a connection is accepted: its effective user, and its
/// process with the time at which that started. (NSXPCConnection has an audit token, too, but not for others than
/// Apple.) A caller whose code is not signed as it has to be gets no answer.
class XPCHelperListener {
public:
    /// @param codeSigningRequirement  the condition for a caller's signature, "Code Signing Requirement Language"; none
    ///                                when empty.
    /// @throws DescribedError for a malformed requirement.
    XPCHelperListener(const std::string& machServiceName, const std::string& codeSigningRequirement,
                      std::shared_ptr<HelperAdmission> admission);
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
