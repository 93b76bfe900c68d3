#pragma once

#include "helper/PrivilegedHelperClient.h"
#include "helper/linux/HelperLocations.h"

#include <filesystem>
#include <utility>

namespace tavo {

/// Asks the helper over its Unix socket, one connection a call. See SocketFraming for what goes over it.
class SocketPrivilegedHelperClient final : public PrivilegedHelperClient {
public:
    explicit SocketPrivilegedHelperClient(std::filesystem::path socket = HelperLocations::socket())
        : socket(std::move(socket)) {}

    /// When nobody listens, the std::system_error of connect(2) comes at once: ENOENT or ECONNREFUSED. A connection that
    /// ends without a reply, and a reply of another form, are PrivilegedHelperClientError::invalidResponse().
    PrivilegedHelperResponse send(const PrivilegedHelperCommand& command) override;

private:
    std::filesystem::path socket;
};

} // namespace tavo
