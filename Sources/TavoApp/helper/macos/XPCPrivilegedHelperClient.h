#pragma once

#include "helper/PrivilegedHelperClient.h"

#include <chrono>
#include <string>
#include <utility>

namespace tavo {

/// Asks the helper over XPC, one connection a call, NSXPCConnection. When nobody listens, or the connection breaks,
/// send() throws an error with the system's own description.
class XPCPrivilegedHelperClient final : public RoundTripHelperClient {
public:
    /// @param machServiceName  of the daemon, in the system's domain.
    explicit XPCPrivilegedHelperClient(std::string machServiceName) : machServiceName(std::move(machServiceName)) {}

private:
    PrivilegedHelperReply roundTrip(const std::string& body, std::chrono::milliseconds bound) override;

    std::string machServiceName;
};

} // namespace tavo
