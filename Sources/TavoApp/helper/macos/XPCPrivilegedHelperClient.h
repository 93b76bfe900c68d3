#pragma once

#include "helper/PrivilegedHelperClient.h"

#include <string>
#include <utility>

namespace tavo {

/// Asks the helper over XPC, one connection a call, NSXPCConnection.
class XPCPrivilegedHelperClient final : public PrivilegedHelperClient {
public:
    /// @param machServiceName  of the daemon, in the system's domain.
    explicit XPCPrivilegedHelperClient(std::string machServiceName) : machServiceName(std::move(machServiceName)) {}

    /// When nobody listens, or the connection breaks, the error is what the system says of it.
    PrivilegedHelperResponse send(const PrivilegedHelperCommand& command) override;

private:
    std::string machServiceName;
};

} // namespace tavo
